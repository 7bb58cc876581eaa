// The start-up of the main window: enable states, the security question and
// the first-run help.
#include <QAction>
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>

#include "tests/app/WindowFixture.h"

namespace ql::test {
namespace {

using ui::Answer;

TEST_F(WindowTest, StartUpStatesOfCommandsTabsAndLists) {
    auto& w = load();
    EXPECT_FALSE(w.action("mnuEditor")->isEnabled());
    EXPECT_TRUE(w.action("mnuXMLEditor")->isEnabled());
    EXPECT_FALSE(w.chkQryControl()->isChecked());
    EXPECT_FALSE(w.chkQryControl()->isEnabled());
    EXPECT_FALSE(w.action("mnuControlQueriesCheck")->isChecked());
    EXPECT_FALSE(w.action("mnuControlQueriesCheck")->isEnabled());
    EXPECT_EQ(w.state().IncludeTempQueries, 0);

    EXPECT_EQ(w.SSTab()->currentIndex(), 10);
    for (int i = 0; i < 12; ++i) {
        EXPECT_EQ(w.SSTab()->isTabEnabled(i), i == 10) << "tab " << i;
        EXPECT_EQ(w.fraTab(i)->isVisible(), i == 10) << "frame " << i;
    }
    EXPECT_TRUE(w.state().ActualDbPath.empty());
    EXPECT_TRUE(w.state().OutputPath.empty());

    // Switched off themselves, not only through their switched-off tabs.
    for (int i = 0; i < 12; ++i) {
        if (w.cmdTrans(i)) {
            EXPECT_TRUE(w.cmdTrans(i)->testAttribute(Qt::WA_ForceDisabled)) << i;
        }
    }
    for (int i = 0; i < 4; ++i) EXPECT_FALSE(w.optFormat(i)->isChecked());
    EXPECT_FALSE(w.fraOutput()->isEnabled());

    EXPECT_TRUE(w.stepCurrent(0));
    for (int i = 1; i < 7; ++i) EXPECT_FALSE(w.stepCurrent(i));

    EXPECT_FALSE(w.menu("mnuTranslate")->menuAction()->isEnabled());
    EXPECT_FALSE(w.action("mnuOutPut")->isEnabled());
    EXPECT_FALSE(w.action("mnuViewResults")->isEnabled());
    EXPECT_FALSE(w.menu("mnuStatistics")->menuAction()->isEnabled());
    EXPECT_FALSE(w.action("mnuAnalyse")->isEnabled());

    // Nothing past the opening is reachable before a database is open.
    for (auto* command : {w.cmdOut(), w.cmdAnalyse(), w.cmdView()}) EXPECT_FALSE(command->isEnabled());
    EXPECT_TRUE(w.isVisible());
    EXPECT_TRUE(w.calls.empty());
}

TEST_F(WindowTest, SecurityQuestionDecidesWhetherADatabaseMayBeChosen) {
    auto& w = load(Answer::Yes);
    EXPECT_TRUE(w.cmdFind()->isEnabled());
    EXPECT_TRUE(w.action("mnuDatabase")->isEnabled());
    EXPECT_EQ(w.focusWidget(), w.cmdFind());

    window_.reset();
    auto& refused = load(Answer::No);
    EXPECT_FALSE(refused.cmdFind()->isEnabled());
    EXPECT_FALSE(refused.action("mnuDatabase")->isEnabled());
    EXPECT_TRUE(refused.isVisible());
    EXPECT_TRUE(refused.cmdClose()->isEnabled());
    EXPECT_TRUE(refused.action("mnuExit")->isEnabled());
    for (auto* command : {refused.cmdOut(), refused.cmdAnalyse(), refused.cmdView()})
        EXPECT_FALSE(command->isEnabled());
    EXPECT_FALSE(refused.action("mnuOutPut")->isEnabled());
    EXPECT_FALSE(refused.action("mnuAnalyse")->isEnabled());
}

// Only the exact "Yes" (or no key at all) is a first run; a missing viewer
// is said at every start and the key stays until the help could open.
TEST_F(WindowTest, FirstRunOpensHelpOnceItCanAndRecordsIt) {
    help.isPresent = false;
    program.write("Quarrylantern.ini", "[Paths]\nEditor=vi\n");  // no section Run: a first run
    for (int start = 0; start < 2; ++start) {
        ui.messages.clear();
        window_.reset();
        load(Answer::No);  // the rest of the start-up runs all the same
        ASSERT_EQ(ui.messages.size(), 2u);
        EXPECT_NE(ui.messages[1].text.find("/usr/bin/"), std::string::npos);
    }
    EXPECT_EQ(TempFolder::read(program / "Quarrylantern.ini"), "[Paths]\nEditor=vi\n");

    help.isPresent = true;
    window_.reset();
    load();
    ASSERT_EQ(help.shown.size(), 1u);
    EXPECT_EQ(help.shown[0].style, ui::WindowStyle::MaximizedFocus);
    EXPECT_EQ(settings.ReadSetting("Run", "FirstTime", "?"), "No");

    for (const char* value : {"yes", "no", "No"}) {
        settings.WriteSetting("Run", "FirstTime", value);
        help.shown.clear();
        window_.reset();
        load();
        EXPECT_TRUE(help.shown.empty()) << value;
        EXPECT_EQ(settings.ReadSetting("Run", "FirstTime", "?"), value);
    }
}

}  // namespace
}  // namespace ql::test
