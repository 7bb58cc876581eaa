// The window's side of the analysis: the controls the commands change, the
// grids drawn from the state, the navigation between them, the column
// sizing, the query SQL window and an error no handler takes.
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

#include "app/WindowControlsQt.h"
#include "analysis/FormatQuerySql.h"
#include "app/frmQuerySql.h"
#include "grids/Fillers.h"
#include "grids/UnhandledError.h"
#include "platform/vba/Automation.h"
#include "tests/app/GridsWindowFixture.h"
#include "tests/support/Corpus.h"

namespace ql::test {
namespace {

using grids::Control;

std::string text(const QString& s) { return s.toStdString(); }

// Whether grid `g` would show on the results tab (the tab itself may be
// hidden while a test looks).
bool shown(app::frmQuarrylantern& w, int g) { return !w.lvwGrid(g)->isHidden(); }

std::vector<int> shownGrids(app::frmQuarrylantern& w) {
    std::vector<int> out;
    for (int g = 0; g < grids::kGridCount; ++g)
        if (shown(w, g)) out.push_back(g);
    return out;
}

void fillSmallGrid(grids::Grid& grid, int columns, int rows) {
    grid.clearRows();
    grid.clearColumns();
    for (int c = 0; c < columns; ++c) grid.addColumn("H" + std::to_string(c), 1000);
    for (int r = 0; r < rows; ++r) {
        grid.addRow("r" + std::to_string(r));
        for (int c = 1; c < columns; ++c) grid.row(r + 1).setSubItem(c, std::to_string(r * 10 + c));
    }
}

TEST_F(GridsWindowTest, ControlsReachTheirWidgets) {
    auto& w = loaded();
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
}

TEST_F(GridsWindowTest, ChoosingAFormatByCodeChecksItAndRunsItsClick) {
    auto& w = loaded();
    w.controls().chooseFormat(2);
    EXPECT_TRUE(w.optFormat(2)->isChecked());
    EXPECT_EQ(w.formatClicks, std::vector<int>{2});
    w.controls().chooseFormat(0);
    EXPECT_TRUE(w.optFormat(0)->isChecked());
    EXPECT_FALSE(w.optFormat(2)->isChecked());
    EXPECT_EQ(w.formatClicks, (std::vector<int>{2, 0}));
}

TEST_F(GridsWindowTest, SelectAndDelayThroughTheControlsAreTheWindowsOwn) {
    auto& w = loaded();
    auto& list = w.state().lstData[3];
    list.AddItem("[a].r1");
    list.AddItem("[b].r2");
    w.controls().nameListChanged(3);
    ASSERT_EQ(w.lstData(3)->count(), 2);
    w.controls().cmdSelect_Click(6);
    EXPECT_TRUE(list.Selected(0) && list.Selected(1));
    EXPECT_TRUE(w.lstData(3)->item(1)->isSelected());
    EXPECT_EQ(ui.lastStatus(), "Selecting....");

    w.controls().Delay(2);
    EXPECT_EQ(text(w.lblCount()->text()), "0");
    EXPECT_FALSE(w.Timer1()->isActive());
}

TEST_F(GridsWindowTest, MakeGridVisibleShowsOneGridOrNone) {
    auto& w = loaded();
    for (int g : {0, 3, 8, 11}) {
        w.MakeGridVisible(g);
        EXPECT_EQ(shownGrids(w), std::vector<int>{g});
    }
    w.MakeGridVisible(12);
    EXPECT_TRUE(shownGrids(w).empty());
    w.MakeGridVisible(-1);
    EXPECT_TRUE(shownGrids(w).empty());
}

TEST_F(GridsWindowTest, KindsOfTheResultsListSelectTheirGrids) {
    auto& w = loaded();
    // The list as start-up fills it has no "Miscellaneous"; the click knows
    // it all the same.
    w.lstItem()->addItem(QStringLiteral("Miscellaneous"));
    w.lstItem()->addItem(QStringLiteral("queries"));

    // No database chosen: nothing changes, whatever is clicked.
    w.MakeGridVisible(1);
    w.lstItem()->setCurrentRow(3);
    w.lstItem_Click();
    EXPECT_EQ(shownGrids(w), std::vector<int>{1});

    w.txtMDB()->setText(QStringLiteral("/data/a.mdb"));
    const std::pair<const char*, int> kinds[] = {
        {"Database", 0}, {"Tables", 1},  {"Fields", 2},        {"Queries", 8},       {"Indexes", 4},
        {"Macros", 5},   {"Modules", 6}, {"Relationships", 7}, {"Miscellaneous", 11},
    };
    for (const auto& [kind, grid] : kinds) {
        const auto found = w.lstItem()->findItems(QString::fromLatin1(kind), Qt::MatchExactly);
        ASSERT_EQ(found.size(), 1) << kind;
        w.lstItem()->setCurrentItem(found.front());
        w.lstItem_Click();
        EXPECT_EQ(shownGrids(w), std::vector<int>{grid}) << kind;
    }
    // Compared case-sensitively: "queries" is no kind.
    w.lstItem()->setCurrentRow(w.lstItem()->count() - 1);
    w.lstItem_Click();
    EXPECT_EQ(shownGrids(w), std::vector<int>{11});
    // Nothing selected: the list's text is empty and names no kind.
    w.lstItem()->clearSelection();
    w.lstItem_Click();
    EXPECT_EQ(shownGrids(w), std::vector<int>{11});
}

TEST_F(GridsWindowTest, StatisticsMenuItemsBringTheirGridsForward) {
    auto& w = loaded();
    const std::pair<const char*, int> items[] = {
        {"mnuViewStatsDb", 0}, {"mnuStatsTables", 1},    {"mnuStatsFields", 2}, {"mnuStatsIndexes", 4},
        {"mnuStatsMacros", 5}, {"mnuStatsModules", 6},   {"mnuStatsRelations", 7}, {"mnuStatsViews", 8},
    };
    for (const auto& [name, grid] : items) {
        w.action(name)->trigger();
        EXPECT_EQ(shownGrids(w), std::vector<int>{grid}) << name;
    }
    // No grid of their own: whatever was shown stays.
    w.action("mnuStatsForms")->trigger();
    w.action("mnuStatsReports")->trigger();
    EXPECT_EQ(shownGrids(w), std::vector<int>{8});
}

TEST_F(GridsWindowTest, LeavingTheResultsTabHidesTheGridsAndReturningShowsTheSelectedKind) {
    auto& w = loaded();
    for (int tab = 0; tab < grids::kTabCount; ++tab) w.SSTab()->setTabEnabled(tab, true);
    w.txtMDB()->setText(QStringLiteral("/data/a.mdb"));

    // Nothing selected: returning shows no grid.
    w.SSTab()->setCurrentIndex(grids::kTabStatistics);
    EXPECT_TRUE(w.fraTab(grids::kTabStatistics)->isVisible());
    EXPECT_TRUE(shownGrids(w).empty());

    w.lstItem()->setCurrentRow(1);  // Tables
    w.lstItem_Click();
    EXPECT_EQ(shownGrids(w), std::vector<int>{1});
    w.SSTab()->setCurrentIndex(grids::kTabForms);
    EXPECT_TRUE(shownGrids(w).empty());
    EXPECT_FALSE(w.fraTab(grids::kTabStatistics)->isVisible());
    EXPECT_TRUE(w.fraTab(grids::kTabForms)->isVisible());
    w.SSTab()->setCurrentIndex(grids::kTabStatistics);
    EXPECT_EQ(shownGrids(w), std::vector<int>{1});

    // A grid brought forward by the menu is not what returns: the list's
    // kind is.
    w.action("mnuStatsViews")->trigger();
    w.SSTab()->setCurrentIndex(grids::kTabDatabase);
    w.SSTab()->setCurrentIndex(grids::kTabStatistics);
    EXPECT_EQ(shownGrids(w), std::vector<int>{1});

    // Leaving another tab leaves the grids as they are.
    w.MakeGridVisible(4);
    w.SSTab()->setCurrentIndex(grids::kTabForms);
    w.MakeGridVisible(4);
    w.SSTab()->setCurrentIndex(grids::kTabTables);
    EXPECT_EQ(shownGrids(w), std::vector<int>{4});
}

TEST_F(GridsWindowTest, ARedrawnGridKeepsNothingOfItsEarlierRowsOrColumns) {
    auto& w = loaded();
    auto& grid = w.state().lvwGrid[4];
    fillSmallGrid(grid, 4, 6);
    w.controls().gridChanged(4);
    ASSERT_EQ(w.lvwGrid(4)->columnCount(), 4);
    ASSERT_EQ(w.lvwGrid(4)->topLevelItemCount(), 6);

    fillSmallGrid(grid, 2, 3);
    w.controls().gridChanged(4);
    auto* view = w.lvwGrid(4);
    ASSERT_EQ(view->columnCount(), 2);
    ASSERT_EQ(view->topLevelItemCount(), 3);
    EXPECT_EQ(text(view->topLevelItem(2)->text(1)), "21");
    EXPECT_EQ(view->topLevelItem(2)->text(2), QString());
    EXPECT_EQ(text(view->headerItem()->text(1)), "H1");

    // An empty name list leaves its grid without columns.
    grid.clearRows();
    grid.clearColumns();
    w.controls().gridChanged(4);
    EXPECT_EQ(view->columnCount(), 0);
    EXPECT_EQ(view->topLevelItemCount(), 0);
}

TEST_F(GridsWindowTest, AutoSizingFitsColumnsAfterTheFirstToTheirContentsOnly) {
    auto& w = loaded();
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

TEST_F(GridsWindowTest, AnErrorNoHandlerTakesIsReportedAndClosesTheWindow) {
    auto& w = loaded();
    ui.messages.clear();
    auto automation = std::make_shared<vba::AutomationApplication>(
        [](const std::filesystem::path&) -> vba::VbaProject { throw RuntimeError(7866, "cannot open"); });
    w.state().AccessApplication = automation;
    w.state().AccessAutomationStarts = 1;

    w.runCommand([](grids::WindowContext&) {
        throw grids::UnhandledError(RuntimeError(3265, "Item not found in this collection."));
    });
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_EQ(ui.messages[0].text, "Run-time error '3265':\r\n\r\nItem not found in this collection.");
    EXPECT_EQ(ui.messages[0].title, "Quarrylantern");
    EXPECT_EQ(ui.messages[0].icon, ui::Icon::Critical);
    EXPECT_EQ(ui.messages[0].buttons, ui::Buttons::OK);
    EXPECT_FALSE(w.isVisible());
    EXPECT_EQ(programEnds, 1);
    EXPECT_TRUE(automation->hasQuit());
}

TEST_F(GridsWindowTest, AnyOtherErrorLeavingACommandEndsTheSameWay) {
    auto& w = loaded();
    ui.messages.clear();
    w.runCommand([](grids::WindowContext&) { throw RuntimeError(6, "Overflow"); });
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_EQ(ui.messages[0].text, "Run-time error '6':\r\n\r\nOverflow");
    EXPECT_EQ(programEnds, 1);

    // A command that ends normally leaves the window alone.
    auto& again = reloaded();
    ui.messages.clear();
    bool ran = false;
    again.runCommand([&](grids::WindowContext& ctx) {
        ran = &ctx.state == &again.state();
        ctx.ui.setStatusText("x");
    });
    EXPECT_TRUE(ran);
    EXPECT_TRUE(ui.messages.empty());
    EXPECT_TRUE(again.isVisible());
    EXPECT_EQ(programEnds, 1);
}

TEST_F(GridsWindowTest, DoubleClickOnAQueryRowShowsItsSqlLaidOut) {
    auto& w = loaded();
    openCopy("j3_nwind_krystek.mdb");
    auto& queries = w.state().lstData[1];
    const auto& defs = w.state().CurrentDb->QueryDefs();
    for (int i = 0; i < defs.Count(); ++i) queries.AddItem(defs.Item(i).Name());
    grids::FillGridQueries(w.context());
    auto* view = w.lvwGrid(grids::kGridQueries);
    ASSERT_GT(view->topLevelItemCount(), 1);

    // The count row opens nothing.
    w.lvwGrid_DblClick(grids::kGridQueries, 0);
    EXPECT_EQ(w.querySqlWindow(), nullptr);
    // Nor does a row of another grid.
    w.lvwGrid_DblClick(grids::kGridTables, 1);
    EXPECT_EQ(w.querySqlWindow(), nullptr);

    int row = -1;
    for (int r = 1; r < view->topLevelItemCount(); ++r)
        if (view->topLevelItem(r)->text(0) == QStringLiteral("Invoices")) row = r;
    ASSERT_GT(row, 0);
    emit view->itemDoubleClicked(view->topLevelItem(row), 0);
    auto* sql = w.querySqlWindow();
    ASSERT_NE(sql, nullptr);
    EXPECT_TRUE(sql->isVisible());
    EXPECT_EQ(text(sql->windowTitle()), "Invoices");
    EXPECT_TRUE(sql->txtSql()->isReadOnly());
    const auto metrics = sql->txtSql()->fontMetrics();
    EXPECT_EQ(metrics.horizontalAdvance(QLatin1Char('i')), metrics.horizontalAdvance(QLatin1Char('W')));
    std::string expected = w.state().CurrentDb->QueryDefs()["Invoices"].SQL();
    analysis::FormatQuerySql(expected);
    std::string shownText = text(sql->txtSql()->toPlainText());
    // Shown line by line: the CR LF pairs become plain line ends.
    std::string plain;
    for (std::size_t i = 0; i < expected.size(); ++i)
        if (!(expected[i] == '\r' && i + 1 < expected.size() && expected[i + 1] == '\n')) plain += expected[i];
    EXPECT_EQ(shownText, plain);
    EXPECT_NE(shownText.find("\n\tON "), std::string::npos) << shownText;
    sql->close();
}

TEST_F(GridsWindowTest, AQueryThatIsGoneGivesAMessageAndNoWindow) {
    auto& w = loaded();
    openCopy("j3_afr.mdb");
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
