// The start-up of the main window: title, controls, captions, tool tips,
// enable states, the security question and the first-run help.
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

#include "Version.h"
#include "tests/app/WindowFixture.h"

namespace ql::test {
namespace {

using ui::Answer;
using ui::Buttons;
using ui::Icon;

TEST_F(WindowTest, TitleNamesVersionAndUser) {
    auto& w = load();
    const std::string version = std::to_string(QL_VERSION_MAJOR) + "." + std::to_string(QL_VERSION_MINOR) +
                                "." + std::to_string(QL_VERSION_PATCH);
    EXPECT_EQ(text(w.windowTitle()), "Quarrylantern - " + version + " : jsmith");
}

TEST_F(WindowTest, ControlsCarryTheirCaptionsAndToolTips) {
    auto& w = load();
    struct Button {
        QPushButton* button;
        const char* name;
        const char* caption;
        const char* tip;
    };
    const Button buttons[] = {
        {w.cmdFind(), "cmdFind", "Database..", "Click to Select Workgroup and Database"},
        {w.cmdOut(), "cmdOut", "Output To...", "Select Output File"},
        {w.cmdAnalyse(), "cmdAnalyse", "&Analyse", "Analyse Results"},
        {w.cmdView(), "cmdView", "&Results", "Display Results file"},
        {w.cmdClose(), "cmdClose", "Close", "Close Quarrylantern"},
    };
    for (const auto& b : buttons) {
        EXPECT_EQ(text(b.button->objectName()), b.name);
        EXPECT_EQ(text(b.button->text()), b.caption);
        EXPECT_EQ(text(b.button->toolTip()), b.tip);
    }
    EXPECT_EQ(text(w.chkIncludeStats()->text()), "Include Statistics in Results");
    EXPECT_EQ(text(w.chkQryControl()->text()), "Include Control Queries");
    EXPECT_EQ(text(w.fraOptions()->title()), "Options");
    EXPECT_EQ(text(w.fraOutput()->title()), "Output Format");
    const char* formats[] = {"Text", "XML", "Char Separated Value", "Excel"};
    for (int i = 0; i < 4; ++i) EXPECT_EQ(text(w.optFormat(i)->text()), formats[i]);
    const char* steps[] = {"Select SYSTEM Database", "Select ACTUAL Database", "Choose Format",
                           "Define Output File",     "Analyse Database",       "Translate Sections",
                           "Show Results"};
    for (int i = 0; i < 7; ++i) {
        EXPECT_EQ(text(w.chkDone(i)->text()), steps[i]);
        EXPECT_EQ(w.chkDone(i)->checkState(), Qt::Unchecked);
    }

    const char* tabs[] = {"Tables",  "Views/Procs", "Indexes",    "Relations", "Fields",   "Forms",
                          "Reports", "Macros",      "Modules",    "Statistics", "Database", "DataPages"};
    ASSERT_EQ(w.SSTab()->count(), 12);
    for (int i = 0; i < 12; ++i) {
        EXPECT_EQ(text(w.SSTab()->tabText(i)), tabs[i]);
        EXPECT_EQ(w.SSTab()->widget(i), w.fraTab(i));
    }
    // The results and database tabs have no name list to translate.
    for (int i : {9, 10}) EXPECT_TRUE(w.lstData(i) == nullptr && w.cmdTrans(i) == nullptr) << i;
}

TEST_F(WindowTest, MenusCarryTheirNamesCaptionsAndOrder) {
    auto& w = load();
    // Each menu of the bar as "name caption: item caption, ...", "-" the
    // caption of a separator.
    std::vector<std::string> menus;
    for (auto* bar : w.menuBar()->actions()) {
        ASSERT_NE(bar->menu(), nullptr);
        std::string line = text(bar->menu()->objectName()) + " " + text(bar->text()) + ":";
        for (auto* item : bar->menu()->actions())
            line += " " + text(item->objectName()) + " " + (item->isSeparator() ? "-" : text(item->text())) + ",";
        menus.push_back(line);
    }
    EXPECT_EQ(menus,
              (std::vector<std::string>{
                  "mnuFile &File: mnuDatabase &Database..., mnuOutPut &OutPut To..., mnuAnalyse &Analyse, mnuBar1 -, "
                  "mnuViewResults &View Results, mnuBar2 -, mnuExit E&xit,",
                  "mnuTranslate &Translate: mnuTransForms &Forms, mnuTransReports &Reports, mnuTransMacros Ma&cros, "
                  "mnuTransModules &Modules, mnuTransTables &Tables, mnuTransViews &Views, mnuTransIndexes &Indexes, "
                  "mnuTransRelationships &Relationships,",
                  "mnuOptions &Options: mnuControlQueriesCheck &Control Queries, mnuStatisticsCheck &Statistics, "
                  "mnuEditor &Text Editor..., mnuXMLEditor &XML Editor...,",
                  "mnuStatistics &Statistics: mnuViewStatsDb &Database, mnuStatsTables &Tables, "
                  "mnuStatsFields &Fields, mnuStatsViews &Views, mnuStatsIndexes &Indexes, mnuStatsRelations "
                  "&Relationships, mnuStatsMacros Ma&cros, mnuStatsModules &Modules, mnuStatsForms &Forms, "
                  "mnuStatsReports &Reports,",
                  "mnuHelp &Help: mnuContextHelp Context Help, mnuOrvexWeb &Orvex Web Site, mnuHelpAbout &About,",
              }));
}

TEST_F(WindowTest, StartUpStatesOfCommandsTabsAndLists) {
    auto& w = load();
    EXPECT_EQ(values.TextEditorPath, "Notepad.exe");
    EXPECT_EQ(values.XmlEditorPath, "Notepad.exe");

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

    QStringList kinds;
    for (int i = 0; i < w.lstItem()->count(); ++i) kinds << w.lstItem()->item(i)->text();
    EXPECT_EQ(kinds, QStringList({"Database", "Tables", "Fields", "Queries", "Indexes", "Macros", "Modules",
                                  "Relationships", "Miscellaneous"}));

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

    EXPECT_TRUE(w.cmdOut()->isEnabled());
    EXPECT_FALSE(w.cmdAnalyse()->isEnabled());
    EXPECT_FALSE(w.cmdView()->isEnabled());
    EXPECT_TRUE(w.isVisible());
    EXPECT_EQ(text(w.ssbPanel()->text()), "Ready");
    EXPECT_EQ(w.helpFile(), program.path().string() + "/help/index.html");
    EXPECT_TRUE(w.calls.empty());
}

TEST_F(WindowTest, SecurityQuestionDecidesWhetherADatabaseMayBeChosen) {
    auto& w = load(Answer::Yes);
    ASSERT_GE(ui.messages.size(), 1u);
    const auto& m = ui.messages[0];
    EXPECT_EQ(m.text, "*** WARNING ***\r\nHAS User / Password protection has been removed???");
    EXPECT_EQ(m.title, "REMOVED SECURITY");
    EXPECT_EQ(m.buttons, Buttons::YesNo);
    EXPECT_EQ(m.icon, Icon::Question);
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
    EXPECT_FALSE(refused.action("mnuAnalyse")->isEnabled());
}

// Only the exact "Yes" (or no key at all) is a first run.
TEST_F(WindowTest, FirstRunOpensHelpMaximisedAndRecordsIt) {
    load(Answer::No);  // the rest of the start-up runs all the same
    ASSERT_EQ(help.shown.size(), 1u);
    EXPECT_EQ(help.shown[0].file, program.path().string() + "/help/index.html");
    EXPECT_EQ(help.shown[0].style, ui::WindowStyle::MaximizedFocus);
    EXPECT_EQ(settings.ReadSetting("Run", "FirstTime", "?"), "No");
    EXPECT_EQ(ui.messages.size(), 1u);  // the security question only

    for (const char* value : {"yes", "no", "No"}) {
        settings.WriteSetting("Run", "FirstTime", value);
        help.shown.clear();
        window_.reset();
        load();
        EXPECT_TRUE(help.shown.empty()) << value;
        EXPECT_EQ(settings.ReadSetting("Run", "FirstTime", "?"), value);
    }
}

TEST_F(WindowTest, MissingHelpViewerIsReportedAtEveryStart) {
    help.isPresent = false;
    program.write("Quarrylantern.ini", "[Paths]\nEditor=vi\n");  // no section Run: a first run
    for (int start = 0; start < 2; ++start) {
        ui.messages.clear();
        window_.reset();
        load();
        ASSERT_EQ(ui.messages.size(), 2u);
        const auto& m = ui.messages[1];
        EXPECT_EQ(m.text,
                  "Can't find Compiled Help Viewer file HH.EXE to run the Help File\r\n"
                  "Please locate this file and copy it to\r\n"
                  "/usr/bin/ directory please");
        EXPECT_EQ(m.title, "MISSING COMPILED HELP VIEWER FILE");
        EXPECT_EQ(m.icon, Icon::Information);
        EXPECT_EQ(m.buttons, Buttons::OK);
    }
    EXPECT_EQ(TempFolder::read(program / "Quarrylantern.ini"), "[Paths]\nEditor=vi\n");
    // Once the viewer is there, the help opens and the key is written.
    help.isPresent = true;
    window_.reset();
    load();
    EXPECT_EQ(help.shown.size(), 1u);
    EXPECT_EQ(settings.ReadSetting("Run", "FirstTime", "?"), "No");
}

}  // namespace
}  // namespace ql::test
