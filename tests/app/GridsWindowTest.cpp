// The window's side of the analysis: the step colours, the navigation
// between the grids, the column sizing, a query that is gone and
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

using GridsWindowTest = WindowTest;

// The program's colours are blue-green-red: its red is 255.
TEST_F(GridsWindowTest, StepColoursAreTheProgramsBlueGreenRed) {
    auto& w = loadRunning();
    w.controls().setStepColor(4, grids::kColorRed);
    EXPECT_EQ(w.chkDone(4)->palette().color(QPalette::WindowText), QColor(255, 0, 0));
    w.controls().setStepColor(4, grids::kColorBlack);
    EXPECT_EQ(w.chkDone(4)->palette().color(QPalette::WindowText), QColor(0, 0, 0));
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
        EXPECT_EQ(ui.messages[0].icon, ui::Icon::Critical);
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
