#include "analysis/AnalysisRun.h"

#include <exception>
#include <optional>
#include <string>
#include <type_traits>
#include <variant>

#include "grids/ErrorLog.h"
#include "grids/FillerSupport.h"
#include "grids/Fillers.h"
#include "grids/UnhandledError.h"
#include "platform/vb/VbText.h"
#include "platform/jet/Catalogue.h"

namespace ql::analysis {

namespace {

using grids::Control;
using grids::ListChange;
using grids::NameList;
using grids::WindowContext;
using grids::WindowState;

// Name lists by kind.
constexpr int kListTables = grids::kTabTables;
constexpr int kListQueries = grids::kTabViews;
constexpr int kListIndexes = grids::kTabIndexes;
constexpr int kListRelationships = grids::kTabRelations;
constexpr int kListFields = grids::kTabFields;
constexpr int kListForms = grids::kTabForms;
constexpr int kListReports = grids::kTabReports;
constexpr int kListMacros = grids::kTabMacros;
constexpr int kListModules = grids::kTabModules;
constexpr int kListPages = grids::kTabDataPages;

// The "Select All" buttons the run presses, one per list it selects.
constexpr int kSelectAllTables = 0;
constexpr int kSelectAllQueries = 3;
constexpr int kSelectAllIndexes = 5;
constexpr int kSelectAllRelationships = 6;
constexpr int kSelectAllForms = 9;
constexpr int kSelectAllReports = 10;
constexpr int kSelectAllMacros = 12;
constexpr int kSelectAllModules = 14;
constexpr int kSelectAllPages = 18;

constexpr int kProgressSteps = 12;
constexpr int kFieldNameWidth = 35;
constexpr std::int16_t kDelaySeconds = 2;

constexpr const char* kObjectsSql = "Select * from MsysObjects order by Name";
// Sent as it always was, trailing blank included.
constexpr const char* kRelationshipsSql = "Select distinct szObject, szRelationship from MSysRelationships ";

bool contains(const std::string& text, const char* part) { return text.find(part) != std::string::npos; }
bool isSystemName(const std::string& name) { return contains(name, "MSys"); }

// `value = number` as VB compares a field's value with a number; Null,
// Empty and text never equal it here.
bool equalsNumber(const dao::Variant& value, int number) {
    return std::visit(
        [number](const auto& v) {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, bool>) return (v ? -1 : 0) == number;
            else if constexpr (std::is_integral_v<T> || std::is_floating_point_v<T>)
                return static_cast<double>(v) == number;
            else return false;
        },
        value);
}

// A name field's text; a Null name contains nothing and is never listed.
std::optional<std::string> textOf(const dao::Variant& value) {
    if (const auto* text = std::get_if<std::string>(&value)) return *text;
    return std::nullopt;
}

class AnalysisRun {
public:
    explicit AnalysisRun(WindowContext& ctx) : ctx_(ctx), state_(ctx.state) {}

    void run() {
        openTheWay();
        s_([&] { ctx_.ui.setProgress(progress_ = 0, kProgressSteps); });
        s_([&] {
            state_.ObjectsRecordset = db().OpenRecordset(kObjectsSql);
            state_.ObjectsRecordset->MoveFirst();
        });
        databasePhase();
        tablesPhase();
        queriesPhase();
        indexesPhase();
        fieldsPhase();
        relationshipsPhase();
        pagesPhase();
        documentsPhase("Checking Forms....", "Forms", kListForms, [&] { select(kSelectAllForms); });
        documentsPhase("Checking Reports....", "Reports", kListReports, [&] { select(kSelectAllReports); });
        documentsPhase("Checking Macros....", "Scripts", kListMacros, [&] {
            fill(grids::FillGridMacros);
            select(kSelectAllMacros);
        });
        documentsPhase("Checking Modules....", "Modules", kListModules, [&] {
            fill(grids::FillGridModules);
            select(kSelectAllModules);
        });
        fill(grids::UpdateGridDatabase);
        step();
        finish();
    }

private:
    const dao::Database& db() const { return grids::object(state_.CurrentDb); }
    NameList& list(int i) { return state_.lstData.at(static_cast<std::size_t>(i)); }

    void status(const char* text) {
        s_([&] { ctx_.ui.setStatusText(text); });
    }
    void hourglass() {
        s_([&] { ctx_.ui.setMousePointer(ui::MousePointer::Hourglass); });
    }
    void select(int button) {
        s_([&] { ctx_.controls.cmdSelect_Click(button); });
    }
    // A filler is one statement: whatever leaves it is the run's to treat.
    void fill(void (*filler)(WindowContext&)) {
        s_([&] { filler(ctx_); });
    }
    // One more step of the progress bar.
    void step() {
        s_([&] { ctx_.ui.setProgress(++progress_, kProgressSteps); });
    }

    // The system tables are read through the Tables container's rights; the
    // old grant is read but never put back.
    void openTheWay() {
        s_([&] { container_ = db().Containers().Item("Tables"); });
        s_([&] { (void)grids::object(container_).Permissions(); });
        s_([&] { grids::object(container_).setPermissions(jet::kAccessFull); });
    }

    void databasePhase() {
        status("Checking Database....");
        fill(grids::FillGridDatabase);
        step();
    }

    void tablesPhase() {
        ListChange tablesShown(ctx_, kListTables);
        ListChange queriesShown(ctx_, kListQueries);
        s_([&] { list(kListTables).Clear(); });
        s_([&] { list(kListQueries).Clear(); });
        status("Checking Tables....");
        // The entry marked is always the first: the position is a counter
        // this walk never moves. The select-all below marks them all anyway.
        const int marked = 0;
        dao::Recordset* objects = state_.ObjectsRecordset ? &*state_.ObjectsRecordset : nullptr;
        while (!atEnd(objects)) {
            s_([&] {
                const dao::Variant& type = objects->Value(jet::system_column::kType);
                const std::optional<std::string> name = textOf(objects->Value(jet::system_column::kName));
                if (!name || isSystemName(*name)) return;
                if (equalsNumber(type, jet::kObjectLocalTable)) {
                    list(kListTables).AddItem(*name);
                    list(kListTables).SetSelected(marked, true);
                } else if (equalsNumber(type, jet::kObjectQuery)) {
                    if (state_.IncludeTempQueries != grids::kFalse || !contains(*name, "~"))
                        list(kListQueries).AddItem(*name);
                }
            });
            s_([&] { objects->MoveNext(); });
        }
        select(kSelectAllTables);
        select(kSelectAllQueries);
        fill(grids::FillGridTables);
        step();
    }

    // The end test of a walk over a recordset. A test that cannot be made
    // ends the walk where errors are passed over: going round again would
    // fail the same way for ever.
    bool atEnd(const dao::Recordset* rs) {
        bool end = true;
        s_([&] { end = grids::object(rs).isEOF(); });
        return end;
    }

    void queriesPhase() {
        status("Checking Queries....");
        fill(grids::FillGridQueries);
        step();
    }

    void indexesPhase() {
        status("Checking Indexes....");
        hourglass();
        ListChange shown(ctx_, kListIndexes);
        s_([&] { list(kListIndexes).Clear(); });
        int count = 0;
        s_([&] { count = db().TableDefs().Count(); });
        for (int t = 0; t < count; ++t) {
            const dao::TableDef* table = nullptr;
            bool system = false;
            s_([&] { table = &db().TableDefs().Item(t); });
            s_([&] { system = isSystemName(grids::object(table).Name()); });
            if (system) continue;
            // From the first user table on, failures are passed over until
            // the pages phase.
            s_.resumeNext();
            s_([&] {
                const dao::TableDef& def = grids::object(table);
                for (const dao::Index& index : def.Indexes())
                    list(kListIndexes).AddItem("[" + def.Name() + "]." + index.Name());
            });
        }
        select(kSelectAllIndexes);
        fill(grids::FillGridIndexes);
        step();
    }

    void fieldsPhase() {
        status("Checking Fields....");
        hourglass();
        ListChange shown(ctx_, kListFields);
        s_([&] { list(kListFields).Clear(); });
        int count = 0;
        s_([&] { count = db().TableDefs().Count(); });
        for (int t = 0; t < count; ++t) {
            s_([&] {
                const dao::TableDef& def = db().TableDefs().Item(t);
                if (isSystemName(def.Name())) return;
                for (const dao::Field& field : def.Fields())
                    list(kListFields).AddItem(vb::fixedWidth(field.Name(), kFieldNameWidth) + " [" +
                                              def.Name() + "]");
            });
        }
        fill(grids::FillGridFields);
        step();
    }

    void relationshipsPhase() {
        status("Checking Relationships....");
        // A statement that fails to open keeps the recordset that was there,
        // which the tables walk left at its end.
        s_([&] { state_.ObjectsRecordset = db().OpenRecordset(kRelationshipsSql); });
        dao::Recordset* relations = state_.ObjectsRecordset ? &*state_.ObjectsRecordset : nullptr;
        s_([&] {
            if (!grids::object(relations).isEOF()) relations->MoveFirst();
        });
        ListChange shown(ctx_, kListRelationships);
        s_([&] { list(kListRelationships).Clear(); });
        while (!atEnd(relations)) {
            s_([&] {
                list(kListRelationships)
                    .AddItem("[" + vb::CStr(relations->Value("szObject")) + "]." +
                             vb::CStr(relations->Value("szrelationship")));
            });
            // A recordset that cannot move on would be read again for ever.
            bool moved = false;
            s_([&] {
                relations->MoveNext();
                moved = true;
            });
            if (!moved) break;
        }
        fill(grids::FillGridRelations);
        select(kSelectAllRelationships);
        step();
    }

    void pagesPhase() {
        status("Checking pages....");
        // A database without the container (Access 97 files) has no pages:
        // the lookup fails where failures are passed over and there is
        // nothing to walk.
        std::optional<dao::Container> pages;
        s_([&] { pages = db().Containers().Item("DataAccessPages"); });
        ListChange shown(ctx_, kListPages);
        s_([&] { list(kListPages).Clear(); });
        int listed = 0;

        // The handler names the saved query at the loop's position, not the
        // page that failed; the program has always logged it so. Without
        // such a query the handler's own lookup fails, and that is not
        // handled.
        int i = 0;
        s_.handleBy([&](const RuntimeError& error) {
            grids::appendErrorLog(state_, grids::runErrorLogLine(grids::queryNameAt(state_, i - 1), error));
            grids::countError(state_);
        });
        int count = 0;
        if (pages) s_([&] { count = pages->Documents().Count(); });
        std::string name;
        for (i = 1; i <= count; ++i) {
            s_([&] { name = pages->Documents().Item(i - 1).Name(); });
            if (contains(name, "~TMP")) continue;
            s_([&] {
                list(kListPages).AddItem(name);
                // The window's list box takes each entry as it comes.
                ctx_.controls.nameListChanged(kListPages);
            });
            s_([&] { list(kListPages).SetItemData(listed, listed + 1); });
            ++listed;
        }
        s_.unhandled();

        select(kSelectAllPages);
        step();
    }

    // Forms, reports, macros and modules: every document of one container,
    // each with its position in ItemData.
    template <class After>
    void documentsPhase(const char* text, const char* containerName, int listIndex, After&& after) {
        status(text);
        {
            ListChange shown(ctx_, listIndex);
            s_([&] { container_ = db().Containers().Item(containerName); });
            s_([&] { list(listIndex).Clear(); });
            int count = 0;
            s_([&] { count = grids::object(container_).Documents().Count(); });
            for (int i = 1; i <= count; ++i) {
                s_([&] {
                    list(listIndex).AddItem(container_->Documents().Item(i - 1).Name());
                    ctx_.controls.nameListChanged(listIndex);
                });
                s_([&] { list(listIndex).SetItemData(i - 1, i - 1); });
            }
        }
        after();
        step();
    }

    void finish() {
        s_([&] {
            state_.ObjectsRecordset.reset();
            container_.reset();
        });
        fill(grids::AutoAdjustColumnWidths);
        status("");
        s_([&] {
            ctx_.ui.message("Database Examined", "Collected Information", ui::Buttons::OK, ui::Icon::Information);
        });
        status("Clearing up...");
        s_([&] { ctx_.ui.doEvents(); });

        s_([&] {
            grids::WindowControls& c = ctx_.controls;
            c.setEnabled(Control::cmdView, true);
            c.setEnabled(Control::cmdAnalyse, false);
            c.setEnabled(Control::mnuAnalyse, false);
            // The output destination cannot change once the analysis ran.
            c.setEnabled(Control::fraOutput, false);
            c.setEnabled(Control::cmdOut, false);
            c.setEnabled(Control::mnuOutPut, false);
            c.setStepBold(grids::kStepAnalyse, false);
            if (state_.ErrorCount > 0) c.setStepColor(grids::kStepAnalyse, grids::kColorRed);
            c.setStepValue(grids::kStepAnalyse, grids::kChecked);
            c.setStepBold(grids::kStepTranslate, false);
            c.setStepValue(grids::kStepTranslate, grids::kGrayed);
            c.setStepBold(grids::kStepResults, true);
            c.setFocus(Control::cmdView);
            c.setEnabled(Control::mnuViewResults, true);
            c.setEnabled(Control::mnuStatistics, true);
        });
        // Every result tab becomes usable; the database tab stays as it was.
        s_([&] {
            for (int tab = grids::kTabTables; tab <= grids::kTabStatistics; ++tab)
                ctx_.controls.setTabEnabled(tab, true);
            ctx_.controls.setTabEnabled(grids::kTabDataPages, true);
        });
        s_([&] { ctx_.controls.Delay(kDelaySeconds); });
        status("Ready");
        s_([&] { ctx_.ui.setMousePointer(ui::MousePointer::Default); });

        if (state_.ErrorCount > 0) {
            s_([&] {
                ctx_.ui.message("Errors found on analysis\r\nThese must be fixed\r\nbefore we can continue",
                                "DATABASE ERRORS", ui::Buttons::OK, ui::Icon::Critical);
            });
            s_([&] {
                ctx_.ui.startProcess(ctx_.program.TextEditorPath + " \"" + state_.ErrorLogPath + "\"",
                                     ui::WindowStyle::MaximizedFocus);
            });
        }
    }

    WindowContext& ctx_;
    WindowState& state_;
    // The run starts unhandled, passes failures over from the first user
    // table of the indexes phase to the pages phase, logs them in the pages
    // loop and leaves them unhandled after it, where the program always
    // switched.
    grids::ErrorRegime s_;
    int progress_ = 0;
    // The container the run holds: Tables while it opens the way, then each
    // phase's own.
    std::optional<dao::Container> container_;
};

}  // namespace

// Nothing handles an error that leaves the run: it ends the command.
void cmdAnalyse_Click(grids::WindowContext& ctx) {
    try {
        AnalysisRun(ctx).run();
    } catch (const grids::UnhandledError&) {
        throw;
    } catch (const std::exception& e) {
        throw grids::UnhandledError(grids::asRuntimeError(e));
    }
}

}  // namespace ql::analysis
