// The window's side of the analysis: the controls the commands change, the
// navigation between the grids, the column sizing, a query that is gone and
// an error no handler takes.
#include <QAction>
#include <QCheckBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTimer>
#include <QTreeWidget>

#include "grids/Fillers.h"
#include "grids/UnhandledError.h"
#include "platform/vba/Automation.h"
#include "tests/app/WindowFixture.h"

namespace ql::test {
namespace {

using grids::Control;
using GridsWindowTest = WindowTest;

TEST_F(GridsWindowTest, ControlsReachTheirWidgets) {
    auto& w = loadRunning();
    auto& c = w.controls();

    c.setStepValue(4, grids::kChecked);
    c.setStepValue(5, grids::kGrayed);
    c.setStepValue(6, grids::kUnchecked);
    EXPECT_EQ(w.chkDone(4)->checkState(), Qt::Checked);
    EXPECT_EQ(w.chkDone(5)->checkState(), Qt::PartiallyChecked);
    EXPECT_EQ(w.chkDone(6)->checkState(), Qt::Unchecked);
    c.setStepBold(6, true);
    c.setStepBold(0, false);
    EXPECT_TRUE(w.stepCurrent(6));
    EXPECT_FALSE(w.stepCurrent(0));
    // The program's red is 255 in its blue-green-red order.
    c.setStepColor(4, grids::kColorRed);
    EXPECT_EQ(w.chkDone(4)->palette().color(QPalette::WindowText), QColor(255, 0, 0));
    c.setStepColor(4, grids::kColorBlack);
    EXPECT_EQ(w.chkDone(4)->palette().color(QPalette::WindowText), QColor(0, 0, 0));

    const std::pair<Control, std::function<bool()>> enabled[] = {
        {Control::cmdFind, [&] { return w.cmdFind()->isEnabled(); }},
        {Control::cmdOut, [&] { return w.cmdOut()->isEnabled(); }},
        {Control::cmdAnalyse, [&] { return w.cmdAnalyse()->isEnabled(); }},
        {Control::cmdView, [&] { return w.cmdView()->isEnabled(); }},
        {Control::fraOutput, [&] { return w.fraOutput()->isEnabled(); }},
        {Control::mnuAnalyse, [&] { return w.action("mnuAnalyse")->isEnabled(); }},
        {Control::mnuOutPut, [&] { return w.action("mnuOutPut")->isEnabled(); }},
        {Control::mnuViewResults, [&] { return w.action("mnuViewResults")->isEnabled(); }},
        {Control::mnuStatistics, [&] { return w.menu("mnuStatistics")->menuAction()->isEnabled(); }},
    };
    for (const auto& [control, isOn] : enabled) {
        c.setEnabled(control, true);
        EXPECT_TRUE(isOn()) << static_cast<int>(control);
        c.setEnabled(control, false);
        EXPECT_FALSE(isOn()) << static_cast<int>(control);
    }

    c.setTabEnabled(grids::kTabStatistics, true);
    EXPECT_TRUE(w.SSTab()->isTabEnabled(grids::kTabStatistics));
    c.setCurrentTab(grids::kTabStatistics);
    EXPECT_EQ(w.SSTab()->currentIndex(), grids::kTabStatistics);

    w.chkQryControl()->setEnabled(true);
    w.chkQryControl()->setChecked(true);
    EXPECT_EQ(c.chkQryControl(), grids::kChecked);
    w.chkQryControl()->setChecked(false);
    EXPECT_EQ(c.chkQryControl(), grids::kUnchecked);

    // Choosing a format by code checks it and runs its click.
    c.chooseFormat(2);
    c.chooseFormat(0);
    EXPECT_TRUE(w.optFormat(0)->isChecked());
    EXPECT_FALSE(w.optFormat(2)->isChecked());
    EXPECT_EQ(w.calls, (std::vector<std::string>{"optFormat_Click 2", "optFormat_Click 0"}));

    // The select buttons' command is the window's own.
    auto& list = w.state().lstData[3];
    list.AddItem("[a].r1");
    list.AddItem("[b].r2");
    c.nameListChanged(3);
    ASSERT_EQ(w.lstData(3)->count(), 2);
    c.cmdSelect_Click(6);
    EXPECT_TRUE(list.Selected(0) && list.Selected(1));
    EXPECT_TRUE(w.lstData(3)->item(1)->isSelected());
}

TEST_F(GridsWindowTest, MenuItemsAndTheCommandShowOneGridOrNone) {
    auto& w = loadRunning();
    const std::pair<const char*, int> items[] = {
        {"mnuViewStatsDb", 0}, {"mnuStatsTables", 1},  {"mnuStatsFields", 2},    {"mnuStatsIndexes", 4},
        {"mnuStatsMacros", 5}, {"mnuStatsModules", 6}, {"mnuStatsRelations", 7}, {"mnuStatsViews", 8},
    };
    for (const auto& [name, grid] : items) {
        w.action(name)->trigger();
        EXPECT_EQ(shownGrids(), std::vector<int>{grid}) << name;
    }
    // No grid of their own: whatever was shown stays.
    w.action("mnuStatsForms")->trigger();
    w.action("mnuStatsReports")->trigger();
    EXPECT_EQ(shownGrids(), std::vector<int>{8});
    w.MakeGridVisible(11);
    EXPECT_EQ(shownGrids(), std::vector<int>{11});
    for (int none : {12, -1}) {
        w.MakeGridVisible(none);
        EXPECT_TRUE(shownGrids().empty()) << none;
    }
}

TEST_F(GridsWindowTest, KindsOfTheResultsListSelectTheirGrids) {
    auto& w = loadRunning();
    w.lstItem()->addItem(QStringLiteral("queries"));

    // No database chosen: nothing changes, whatever is clicked.
    w.MakeGridVisible(1);
    clickKind("Queries");
    EXPECT_EQ(shownGrids(), std::vector<int>{1});

    w.txtMDB()->setText(QStringLiteral("/data/a.mdb"));
    const std::pair<const char*, int> kinds[] = {
        {"Database", 0}, {"Tables", 1},  {"Fields", 2},        {"Queries", 8},       {"Indexes", 4},
        {"Macros", 5},   {"Modules", 6}, {"Relationships", 7}, {"Miscellaneous", 11},
    };
    for (const auto& [kind, grid] : kinds) {
        clickKind(kind);
        EXPECT_EQ(shownGrids(), std::vector<int>{grid}) << kind;
    }
    // Compared case-sensitively: "queries" is no kind.
    clickKind("queries");
    EXPECT_EQ(shownGrids(), std::vector<int>{11});
    // Nothing selected: the list's text is empty and names no kind.
    w.lstItem()->clearSelection();
    w.lstItem_Click();
    EXPECT_EQ(shownGrids(), std::vector<int>{11});
}

TEST_F(GridsWindowTest, LeavingTheResultsTabHidesTheGridsAndReturningShowsTheSelectedKind) {
    auto& w = loadRunning();
    for (int tab = 0; tab < grids::kTabCount; ++tab) w.SSTab()->setTabEnabled(tab, true);
    w.txtMDB()->setText(QStringLiteral("/data/a.mdb"));

    // Nothing selected: returning shows no grid.
    w.SSTab()->setCurrentIndex(grids::kTabStatistics);
    EXPECT_TRUE(w.fraTab(grids::kTabStatistics)->isVisible());
    EXPECT_TRUE(shownGrids().empty());

    clickKind("Tables");
    w.SSTab()->setCurrentIndex(grids::kTabForms);
    EXPECT_TRUE(shownGrids().empty());
    EXPECT_FALSE(w.fraTab(grids::kTabStatistics)->isVisible());
    EXPECT_TRUE(w.fraTab(grids::kTabForms)->isVisible());
    w.SSTab()->setCurrentIndex(grids::kTabStatistics);
    EXPECT_EQ(shownGrids(), std::vector<int>{1});

    // A grid brought forward by the menu is not what returns: the list's
    // kind is.
    w.action("mnuStatsViews")->trigger();
    w.SSTab()->setCurrentIndex(grids::kTabDatabase);
    w.SSTab()->setCurrentIndex(grids::kTabStatistics);
    EXPECT_EQ(shownGrids(), std::vector<int>{1});

    // Leaving another tab leaves the grids as they are.
    w.MakeGridVisible(4);
    w.SSTab()->setCurrentIndex(grids::kTabForms);
    w.MakeGridVisible(4);
    w.SSTab()->setCurrentIndex(grids::kTabTables);
    EXPECT_EQ(shownGrids(), std::vector<int>{4});
}

TEST_F(GridsWindowTest, AutoSizingFitsColumnsAfterTheFirstToTheirContentsOnly) {
    auto& w = loadRunning();
    auto& grid = w.state().lvwGrid[1];
    grid.addColumn("Table", 3000);
    grid.addColumn("A header much wider than any of its cells", 3000);
    grid.addColumn("N", 100, grids::Alignment::Right);
    grid.addRow("Tables in Database : ");
    grid.row(1).setSubItem(1, "12");
    grid.addRow("x");
    grid.row(2).setSubItem(2, "a cell much wider than its column's header");
    w.mirrorGrid(1);
    auto* view = w.lvwGrid(1);
    const int first = view->columnWidth(0);
    const int headerWide = view->header()->sectionSizeHint(1);

    w.controls().autoSizeColumns(1);
    EXPECT_EQ(view->columnWidth(0), first);
    EXPECT_LT(view->columnWidth(1), headerWide);
    EXPECT_GE(view->columnWidth(1), view->fontMetrics().horizontalAdvance(QStringLiteral("12")));
    EXPECT_GE(view->columnWidth(2),
              view->fontMetrics().horizontalAdvance(QStringLiteral("a cell much wider than its column's header")));

    // A grid without columns asks for nothing and keeps nothing.
    w.controls().autoSizeColumns(3);
    EXPECT_EQ(w.lvwGrid(3)->columnCount(), 0);
}

// An unhandled error and any other error leaving a command end alike; an
// application the run started is quit.
TEST_F(GridsWindowTest, AnErrorLeavingACommandIsReportedAndClosesTheWindow) {
    const std::pair<RuntimeError, bool> errors[] = {
        {RuntimeError(3265, "Item not found in this collection."), true}, {RuntimeError(6, "Overflow"), false}};
    int ends = 0;
    for (const auto& [error, unhandled] : errors) {
        auto& w = loadRunning();
        ui.messages.clear();
        auto automation = std::make_shared<vba::AutomationApplication>(
            [](const std::filesystem::path&) -> vba::VbaProject { throw RuntimeError(7866, "cannot open"); });
        w.state().AccessApplication = automation;
        w.state().AccessAutomationStarts = 1;
        w.runCommand([e = error, u = unhandled](grids::WindowContext&) {
            if (u) throw grids::UnhandledError(e);
            throw e;
        });
        ASSERT_EQ(ui.messages.size(), 1u);
        EXPECT_EQ(ui.messages[0].text,
                  "Run-time error '" + std::to_string(error.number()) + "':\r\n\r\n" + error.description());
        EXPECT_EQ(ui.messages[0].title, "Quarrylantern");
        EXPECT_EQ(ui.messages[0].icon, ui::Icon::Critical);
        EXPECT_EQ(ui.messages[0].buttons, ui::Buttons::OK);
        EXPECT_FALSE(w.isVisible());
        EXPECT_EQ(programEnds, ++ends);
        EXPECT_TRUE(automation->hasQuit());
    }
}

TEST_F(GridsWindowTest, AQueryThatIsGoneGivesAMessageAndNoWindow) {
    auto& w = loadRunning();
    chooseDatabase("j3_afr.mdb", "j3_mssecure.mdw");
    auto& grid = w.state().lvwGrid[grids::kGridQueries];
    grid.addColumn("Query", 3000);
    grid.addRow("Views in Database");
    grid.addRow("No Such Query");
    w.mirrorGrid(grids::kGridQueries);
    ui.messages.clear();
    w.lvwGrid_DblClick(grids::kGridQueries, 1);
    EXPECT_EQ(w.querySqlWindow(), nullptr);
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_EQ(ui.messages[0].title, "Quarrylantern");
    EXPECT_TRUE(w.isVisible());
}

}  // namespace
}  // namespace ql::test
