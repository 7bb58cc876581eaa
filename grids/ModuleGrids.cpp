// Grids 5 and 6: the macros by name, and the code modules with their line,
// function and sub counts. The counts come from the database application's
// automation object; on Linux that is the stand-in that reads the VBA
// project stored in the file, driven by the same calls.
#include <limits>
#include <memory>

#include "grids/CountProcedures.h"
#include "grids/FillerSupport.h"
#include "platform/vba/Automation.h"
#include "platform/vba/JetSystemTables.h"

namespace ql::grids {

namespace {

// The program's title, which message boxes carry unless they name another.
constexpr const char* kAppTitle = "Quarrylantern";

constexpr int kErrOverflow = 6;
constexpr int kErrObjectNotSet = 91;

// DoCmd.Close's object type for a module (acModule; not a catalogue type),
// and its "close without saving".
constexpr int kAcModule = 5;
constexpr int kSaveNo = 2;
// Quit's "quit without saving".
constexpr int kQuitDiscardAll = 2;

// Starts the application and keeps it, counted, for the unload's Quit.
vba::AutomationApplication& startAutomation(WindowContext& ctx) {
    WindowState& state = ctx.state;
    std::shared_ptr<vba::AutomationApplication> app = vba::CreateObject(ctx.program.AccessApplicationClass,
                                                                        vba::openJetProject);
    state.AccessApplication = app;
    // The counter is a 16-bit integer; another start past its top overflows.
    if (state.AccessAutomationStarts == std::numeric_limits<std::int16_t>::max())
        throw RuntimeError(kErrOverflow, "Overflow");
    ++state.AccessAutomationStarts;
    return *app;
}

// The application's current database becomes the window's: the same file,
// opened again through the window's engine.
void takeApplicationDatabase(WindowState& state, const vba::AutomationApplication& app) {
    const auto path = app.currentDatabasePath();
    if (!path || !state.DbEngine) throw RuntimeError(kErrObjectNotSet, "Object variable or With block variable not set");
    state.CurrentDb = state.DbEngine->OpenDatabase(path->string(), false, true);
}

std::int32_t countOfLines(const std::shared_ptr<const vba::AutomationModule>& module) {
    if (!module) throw RuntimeError(kErrObjectNotSet, "Object variable or With block variable not set");
    return module->CountOfLines();
}

}  // namespace

void FillGridMacros(WindowContext& ctx) {
    hourglass(ctx);
    GridChange change(ctx, kGridMacros);
    Grid& grid = clearGrid(ctx.state, kGridMacros);
    const NameList& macros = ctx.state.lstData[kTabMacros];
    if (macros.ListCount() == 0) return;
    grid.addColumn("Macros", 3000);
    grid.addColumn("");
    addCountRow(grid, "Macros in Database", macros.ListCount());
    for (int i = 0; i < macros.ListCount(); ++i) grid.addRow(macros.List(i));
    ctx.ui.setMousePointer(ui::MousePointer::Default);
}

void FillGridModules(WindowContext& ctx) {
    WindowState& state = ctx.state;
    hourglass(ctx);
    GridChange change(ctx, kGridModules);
    Grid& grid = clearGrid(state, kGridModules);
    const NameList& modules = state.lstData[kTabModules];
    if (modules.ListCount() == 0) return;
    grid.addColumn("Modules", 3000);
    grid.addColumn("Lines", 600, Alignment::Right);
    grid.addColumn("Funcs", 600, Alignment::Right);
    grid.addColumn("Subs", 600, Alignment::Right);
    addCountRow(grid, "Modules in Database", modules.ListCount());

    vba::AutomationApplication& app = startAutomation(ctx);
    hourglass(ctx);
    app.DoCmd().SetWarnings(false);
    app.Echo(false);
    app.OpenCurrentDatabase(state.ActualDbPath);
    takeApplicationDatabase(state, app);
    const dao::Container container = state.CurrentDb->Containers().Item("Modules");

    // From here every failing statement costs one log line and is passed
    // over. The line names the saved query at the document's position, not
    // the module: the program has always logged it so, and it is kept. When
    // there is no such query the handler's own lookup fails and leaves.
    int d = 1;
    const ErrorRegime statement = ErrorRegime::handledBy([&](const RuntimeError& error) {
        logAndCount(state, errorLogLine("Modul Error :", queryNameAt(state, d - 1), error));
    });

    const auto showFailedCount = [&](const char* caption, std::int32_t n) {
        if (n < 0) ctx.ui.message(caption + std::to_string(-static_cast<std::int64_t>(n)), kAppTitle);
    };

    const auto& documents = container.Documents();
    int count = 0;
    statement([&] { count = documents.Count(); });
    for (d = 1; d <= count; ++d) {
        std::string name;
        std::shared_ptr<const vba::AutomationModule> module;
        std::int32_t n = 0;
        statement([&] {
            name = documents.Item(d - 1).Name();
            grid.addRow(name);
        });
        statement([&] { app.DoCmd().OpenModule(name); });
        statement([&] { module = app.Modules(name); });
        statement([&] { setLastSubItem(grid, 1, std::to_string(countOfLines(module))); });

        statement([&] { n = CountProcedures(module.get(), kCountFunctions); });
        statement([&] { showFailedCount("Error (Funcs) No ", n); });
        statement([&] { setLastSubItem(grid, 2, std::to_string(n)); });

        statement([&] { n = CountProcedures(module.get(), kCountSubs); });
        statement([&] { showFailedCount("Error (Subs) No ", n); });
        statement([&] { setLastSubItem(grid, 3, std::to_string(n)); });

        statement([&] { app.DoCmd().Close(kAcModule, name, kSaveNo); });
    }
    // d is one past the last document here, as the loop leaves it, and the
    // handler names the query at that position.
    statement([&] { app.CloseCurrentDatabase(); });
    statement([&] { app.Quit(kQuitDiscardAll); });
}

}  // namespace ql::grids
