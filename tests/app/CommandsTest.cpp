// The small commands of the main window: select/clear buttons, the check
// boxes and their menu items, the keyboard, the count-down, help, web site,
// closing.
#include <QAction>
#include <QCheckBox>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QGroupBox>
#include <QRadioButton>
#include <QTabBar>
#include <QTabWidget>
#include <QTimer>

#include <set>

#include "grids/WindowState.h"
#include "tests/app/WindowFixture.h"

namespace ql::test {
namespace {

// The binding table: button index -> (list, selects).
struct Row {
    int index, list;
    bool selects;
};
const Row kSelectTable[] = {
    {0, 0, true},   {1, 0, false},  {2, 1, false},  {3, 1, true},   {4, 2, false},
    {5, 2, true},   {6, 3, true},   {7, 3, false},  {8, 5, false},  {9, 5, true},
    {10, 6, true},  {11, 6, false}, {12, 7, true},  {13, 7, false}, {14, 8, true},
    {15, 8, false}, {16, 4, true},  {17, 4, false}, {18, 11, true}, {19, 11, false},
};
const int kListTabs[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 11};

TEST_F(WindowTest, SelectButtonsFollowTheBindingTableOnFilledLists) {
    auto& w = load();
    for (int tab : kListTabs) w.SSTab()->setTabEnabled(tab, true);  // as after a run
    for (const auto& row : kSelectTable) {
        auto* b = w.cmdSelect(row.index);
        ASSERT_NE(b, nullptr);
        EXPECT_EQ(b->parentWidget(), w.fraTab(row.list)) << row.index;

        // Every list filled, every entry the opposite of what the button sets.
        for (int tab : kListTabs) {
            auto& list = w.state().lstData[static_cast<std::size_t>(tab)];
            list.Clear();
            for (const char* name : {"Alpha", "Beta", "Gamma"}) list.AddItem(name);
            for (int i = 0; i < 3; ++i) list.SetSelected(i, !row.selects);
            w.mirrorNameList(tab);
        }
        ui.statusTexts.clear();
        b->click();

        EXPECT_EQ(ui.statusTexts, std::vector<std::string>{"Selecting...."}) << row.index;
        for (int tab : kListTabs) {
            const bool expected = tab == row.list ? row.selects : !row.selects;
            const auto& list = w.state().lstData[static_cast<std::size_t>(tab)];
            for (int i = 0; i < 3; ++i) {
                EXPECT_EQ(list.Selected(i), expected) << "button " << row.index << " list " << tab;
                EXPECT_EQ(w.lstData(tab)->item(i)->isSelected(), expected)
                    << "button " << row.index << " widget " << tab;
            }
        }
    }
}

TEST_F(WindowTest, SelectionsOnScreenReachTheStateAndUnknownButtonsChangeNothing) {
    auto& w = load();
    for (const auto& row : kSelectTable) w.cmdSelect_Click(row.index);  // every list still empty
    auto& views = w.state().lstData[1];
    views.AddItem("q1");
    views.AddItem("q2");
    w.mirrorNameList(1);
    w.lstData(1)->item(1)->setSelected(true);
    const std::vector<bool> selected = {false, true};
    EXPECT_EQ(std::vector<bool>({views.Selected(0), views.Selected(1)}), selected);
    ui.statusTexts.clear();
    w.cmdSelect_Click(20);
    w.cmdSelect_Click(-1);
    EXPECT_EQ(std::vector<bool>({views.Selected(0), views.Selected(1)}), selected);
    EXPECT_EQ(ui.statusTexts, (std::vector<std::string>{"Selecting....", "Selecting...."}));
}

TEST_F(WindowTest, OptionBoxesAndTheirMenuItemsMirrorEachOther) {
    auto& w = load();
    auto* stats = w.action("mnuStatisticsCheck");
    w.chkIncludeStats()->click();
    EXPECT_TRUE(stats->isChecked());
    stats->trigger();
    EXPECT_FALSE(w.chkIncludeStats()->isChecked());

    // The control queries box also sets the flag the run reads.
    auto* queries = w.action("mnuControlQueriesCheck");
    w.chkQryControl()->setChecked(true);
    EXPECT_EQ(w.state().IncludeTempQueries, -1);
    EXPECT_TRUE(queries->isChecked());
    queries->setEnabled(true);  // switched on by a later step
    queries->trigger();
    EXPECT_FALSE(w.chkQryControl()->isChecked());
    EXPECT_EQ(w.state().IncludeTempQueries, 0);
}

void press(QWidget* on, int key) {
    QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
    QCoreApplication::sendEvent(on, &event);
}

TEST_F(WindowTest, EnterOrTabOnStatisticsBoxMovesToOutputAndTabMovesOnWhileItIsOff) {
    auto& w = load();
    w.activateWindow();
    // No database open: "Output To..." is off, and Tab is not lost.
    w.chkIncludeStats()->setFocus();
    press(w.chkIncludeStats(), Qt::Key_Tab);
    EXPECT_NE(w.focusWidget(), w.chkIncludeStats());

    w.cmdOut()->setEnabled(true);
    for (int key : {int(Qt::Key_Return), int(Qt::Key_Enter), int(Qt::Key_Tab)}) {
        w.chkIncludeStats()->setFocus();
        press(w.chkIncludeStats(), key);
        EXPECT_EQ(w.focusWidget(), w.cmdOut()) << key;
    }
}

TEST_F(WindowTest, TabReachesTheFormatsCloseAndTheTabBar) {
    auto& w = load();
    w.activateWindow();
    // As after an opening: the output choice is on, Text chosen.
    w.cmdOut()->setEnabled(true);
    w.fraOutput()->setEnabled(true);
    w.optFormat(0)->setChecked(true);
    w.cmdFind()->setFocus();
    std::set<QWidget*> reached;
    for (int i = 0; i < 80 && !reached.count(w.SSTab()->tabBar()); ++i) {
        press(w.focusWidget(), Qt::Key_Tab);
        reached.insert(w.focusWidget());
    }
    for (QWidget* c : std::initializer_list<QWidget*>{w.optFormat(0), w.chkIncludeStats(), w.cmdOut(),
                                                      w.cmdClose(), w.SSTab()->tabBar()})
        EXPECT_TRUE(reached.count(c)) << text(c->objectName());
}

TEST_F(WindowTest, TimerCountsTheLabelDown) {
    auto& w = window();
    struct Step {
        const char* before;
        const char* after;
    };
    for (const auto& s : {Step{"5", "4"}, Step{"1", "0"}, Step{"0", "-1"}, Step{"abc", "-1"},
                          Step{" 12 ", "11"}, Step{"2.5", "2"}, Step{"3.2", "2"}}) {
        w.lblCount()->setText(QString::fromLatin1(s.before));
        w.Timer1_Timer();
        EXPECT_EQ(text(w.lblCount()->text()), s.after) << s.before;
    }
}

TEST_F(WindowTest, DelayWaitsForTheCountDownWhileEventsRun) {
    auto& w = window();
    w.Timer1()->setInterval(5);
    bool otherEventRan = false;
    QTimer::singleShot(1, [&] { otherEventRan = true; });
    std::int16_t seconds = 12;
    EXPECT_TRUE(w.Delay(seconds));
    EXPECT_EQ(text(w.lblCount()->text()), "0");
    EXPECT_FALSE(w.Timer1()->isActive());
    EXPECT_TRUE(otherEventRan);

    // Nothing to wait for.
    for (std::int16_t n : {0, -3}) {
        std::int16_t value = n;
        EXPECT_TRUE(w.Delay(value));
        EXPECT_EQ(text(w.lblCount()->text()), std::to_string(n));
        EXPECT_FALSE(w.Timer1()->isActive());
    }
}

TEST_F(WindowTest, HelpAndWebSiteOpenOrReportTheError) {
    auto& w = load();
    help.shown.clear();
    ui.messages.clear();
    w.action("mnuContextHelp")->trigger();
    ASSERT_EQ(help.shown.size(), 1u);
    EXPECT_EQ(help.shown[0].file, w.helpFile());
    w.action("mnuOrvexWeb")->trigger();
    EXPECT_EQ(ui.started.size(), 1u);
    EXPECT_TRUE(ui.messages.empty());

    help.isPresent = false;
    ui.failStarts = true;
    w.action("mnuContextHelp")->trigger();
    w.mnuOrvexWeb_Click();
    EXPECT_EQ(ui.messages.size(), 2u);
}

TEST_F(WindowTest, CloseAndExitUnloadAndEndTheProgram) {
    auto& w = load();
    w.cmdClose()->click();
    EXPECT_FALSE(w.isVisible());
    EXPECT_EQ(programEnds, 1);

    window_.reset();
    auto& w2 = load();
    w2.calls.clear();
    w2.action("mnuExit")->trigger();
    EXPECT_EQ(w2.calls, std::vector<std::string>{"cmdClose_Click"});
    EXPECT_FALSE(w2.isVisible());
    EXPECT_EQ(programEnds, 2);
}

}  // namespace
}  // namespace ql::test
