#include "open/FindDatabase.h"

#include <exception>
#include <optional>
#include <string>

#include "grids/ErrorLog.h"
#include "open/FileChecks.h"
#include "open/JetSignature.h"

namespace ql::open {

namespace {

using grids::Control;
using grids::WindowContext;

constexpr const char* kAppTitle = "Quarrylantern";
constexpr const char* kSettingsSection = "Paths";
constexpr const char* kSystemDbKey = "SystemDB";
constexpr const char* kActualDbKey = "ActualDB";
constexpr const char* kCrLf = "\r\n";

// The file dialog's own error when the user cancels a dialog that asked
// for one.
constexpr int kErrCancel = 32755;

// A message box as the command shows its refusals: OK, no icon, the
// program's title.
void say(WindowContext& ctx, const std::string& text) { ctx.ui.message(text, kAppTitle); }

std::string dialogFileName(WindowContext& ctx, const ui::FileDialog& dialog) {
    const ui::FileDialogResult result = ctx.ui.showOpen(dialog);
    if (result.accepted) return result.fileName;
    if (dialog.cancelError) throw RuntimeError(kErrCancel, "Cancel was selected.");
    // Without an error on Cancel the dialog gives no name at all; the
    // command then finds an empty choice.
    return {};
}

// Whatever fails between the first dialog and the opening, a Cancel among
// them, ends the command with these two messages.
void cancelTrap(WindowContext& ctx, const RuntimeError& error) {
    say(ctx, "Cancel Button Selected");
    say(ctx, error.description());
    ctx.ui.setMousePointer(ui::MousePointer::Default);
}

// The opening failed; the engine's number and text are passed on.
void openTrap(WindowContext& ctx, const RuntimeError& error) {
    say(ctx, std::string("Cannot open Database: ") + ctx.state.ActualDbPath + kCrLf +
                 "Reported Error: " + std::to_string(error.number()) + kCrLf + error.description() + kCrLf +
                 "Please report error message to Orvex Support");
    ctx.ui.setMousePointer(ui::MousePointer::Default);
}

// Both outcomes of a trapped stretch: the stretch ran to its end, or its
// error went to the trap and the command stops.
template <class Body, class Trap>
bool trapped(WindowContext& ctx, Body&& body, Trap&& trap) {
    std::optional<RuntimeError> error;
    try {
        body();
    } catch (const std::exception& e) {
        error = grids::asRuntimeError(e);
    }
    if (!error) return true;
    trap(ctx, *error);
    return false;
}

void finishStep(WindowContext& ctx, int done, int next) {
    ctx.controls.setStepBold(done, false);
    ctx.controls.setStepValue(done, grids::kChecked);
    ctx.controls.setStepBold(next, true);
}

// From the first dialog to the busy pointer: choose and check both files.
// False when the command stops here (a refusal or the cancel trap has
// already spoken).
bool chooseFiles(WindowContext& ctx) {
    grids::WindowState& state = ctx.state;
    bool goOn = false;
    const bool ran = trapped(
        ctx,
        [&] {
            ui::FileDialog workgroupDialog;
            workgroupDialog.cancelError = true;
            workgroupDialog.fileName = state.SystemDbPath;
            workgroupDialog.title = "Please select SYSTEM/WORKGROUP DATABASE (*.MDW)";
            workgroupDialog.filter = "System Databases (*.mdw)|*.mdw|All Files (*.*)|*.*";
            workgroupDialog.initialFolder = dialogInitialFolder(state.SystemDbPath);
            state.SystemDbPath = dialogFileName(ctx, workgroupDialog);

            if (state.SystemDbPath.empty() || !fileExists(state.SystemDbPath)) {
                say(ctx, state.SystemDbPath + kCrLf + "No System Database Chosen / does not exist");
                return;
            }
            if (!IsJetFile(state.SystemDbPath, static_cast<short>(JetFileKind::Workgroup))) {
                say(ctx, state.SystemDbPath + " is not an System Databasse");
                return;
            }
            ctx.settings.WriteSetting(kSettingsSection, kSystemDbKey, state.SystemDbPath);

            finishStep(ctx, grids::kStepSystemDb, grids::kStepActualDb);
            ctx.ui.setStatusText("Select Database to Analyse");

            state.ActualDbPath =
                ctx.settings.ReadSetting(kSettingsSection, kActualDbKey, ctx.programFolder + "/Test.MDB");
            ui::FileDialog databaseDialog;
            databaseDialog.title = "Please Select your ACCESS Database";
            databaseDialog.initialFolder = dialogInitialFolder(state.ActualDbPath);
            databaseDialog.fileName = state.ActualDbPath;
            databaseDialog.filter = "Access Databases (*.MDB)|*.MDB|All FIles (*.*)|*.*";
            state.ActualDbPath = dialogFileName(ctx, databaseDialog);
            ctx.controls.setTxtMDB(state.ActualDbPath);

            if (ctx.controls.txtMDB().empty()) {
                ctx.ui.setStatusText("");
                say(ctx, "No Database selected");
                return;
            }
            if (!fileExists(state.ActualDbPath)) {
                // Said, but not a stop: the path is still remembered and the
                // opening below fails with the engine's own words.
                say(ctx, state.ActualDbPath + " does not exist");
            } else if (hasReadOnlyAttribute(state.ActualDbPath)) {
                say(ctx, state.ActualDbPath + " is READ ONLY" + kCrLf + "Cannot continue." + kCrLf +
                             "Please reset Read Only Flag");
                return;
            } else if (!IsJetFile(state.ActualDbPath, static_cast<short>(JetFileKind::Database))) {
                say(ctx, state.ActualDbPath + " is not an Access Database");
                return;
            }
            ctx.settings.WriteSetting(kSettingsSection, kActualDbKey, state.ActualDbPath);

            ctx.ui.setMousePointer(ui::MousePointer::Hourglass);
            ctx.ui.setStatusText("Opening Database....");
            goOn = true;
        },
        cancelTrap);
    return ran && goOn;
}

// Nothing of the previous database may pass for the new one's: its
// results are emptied and put away until the new one has been analysed, and
// the analysis waits for a new output file.
void forgetResults(WindowContext& ctx) {
    grids::clearResults(ctx.state);
    for (int i = 0; i < grids::kNameListCount; ++i) ctx.controls.nameListChanged(i);
    for (int i = 0; i < grids::kGridCount; ++i) ctx.controls.gridChanged(i);
    for (int tab = 0; tab < grids::kTabCount; ++tab)
        if (tab != grids::kTabDatabase) ctx.controls.setTabEnabled(tab, false);
    for (const Control c : {Control::cmdAnalyse, Control::mnuAnalyse, Control::mnuViewResults, Control::mnuStatistics})
        ctx.controls.setEnabled(c, false);
}

// A refused or failed opening leaves the previous database open; the path
// shown and used is then that database's, not the refused one.
void showOpenDatabase(WindowContext& ctx) {
    if (!ctx.state.CurrentDb) return;
    const std::string& open = ctx.state.CurrentDb->Name();
    if (ctx.state.ActualDbPath == open && ctx.controls.txtMDB() == open) return;
    ctx.state.ActualDbPath = open;
    ctx.controls.setTxtMDB(open);
}

}  // namespace

void cmdFind_Click(grids::WindowContext& ctx) {
    grids::WindowState& state = ctx.state;

    for (int i = 0; i < grids::kStepCount; ++i) {
        ctx.controls.setStepValue(i, grids::kUnchecked);
        ctx.controls.setStepColor(i, grids::kColorBlack);
    }
    ctx.controls.setCurrentTab(grids::kTabDatabase);

    state.SystemDbPath =
        ctx.settings.ReadSetting(kSettingsSection, kSystemDbKey, ctx.programFolder + "/SYSTEM.MDW");

    if (!chooseFiles(ctx)) {
        showOpenDatabase(ctx);
        return;
    }

    state.DbEngine = dao::DBEngine{};
    state.DbEngine->SystemDB = state.SystemDbPath;
    trapped(
        ctx,
        [&] {
            state.CurrentDb = state.DbEngine->OpenDatabase(state.ActualDbPath, false, true);
            // A new database starts its own count of analysis errors.
            state.ErrorCount = 0;

            finishStep(ctx, grids::kStepActualDb, grids::kStepFormat);
            ctx.controls.setTxtOut("");
            grids::resetOutputChoice(state);
            ctx.controls.chooseFormat(grids::kFormatText);
            ctx.controls.setEnabled(Control::cmdView, false);
            forgetResults(ctx);
            // The output choice is made once per opened database, and the
            // window switches it off at start-up and after each choice;
            // opening a database is where it becomes possible again, or no
            // format could ever be picked and no second report written.
            ctx.controls.setEnabled(Control::fraOutput, true);
            ctx.controls.setEnabled(Control::cmdOut, true);
            ctx.controls.setEnabled(Control::mnuOutPut, true);
            ctx.controls.setCurrentTab(grids::kTabDatabase);
            // Files are opened and closed within each operation, so none is
            // open here to be closed.

            ctx.ui.setStatusText("");
            ctx.ui.setMousePointer(ui::MousePointer::Default);
        },
        openTrap);
    showOpenDatabase(ctx);
}

}  // namespace ql::open
