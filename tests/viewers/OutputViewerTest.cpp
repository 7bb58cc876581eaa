#include "viewers/OutputViewer.h"

#include <gtest/gtest.h>

#include "platform/ui/Launcher.h"
#include "tests/support/OutputChoice.h"

using namespace ql;
using grids::Control;
using registry::MemoryRegistry;
using registry::RootKey;
using test::HeadlessWindow;
using ui::Answer;

namespace {

TEST(BrowserCommand, IsCutJustBehindTheProgramsExtension) {
    // A quoted path followed by arguments keeps its closing quote.
    EXPECT_EQ(viewers::CutBrowserCommand("\"C:/Program Files/Web/browser.exe\" -nohome %1"),
              "\"C:/Program Files/Web/browser.exe\"");
    // Unquoted: the blank behind the extension stays.
    EXPECT_EQ(viewers::CutBrowserCommand("C:/WEB/BROWSER.EXE -nohome"), "C:/WEB/BROWSER.EXE ");
    // An extension among the last four characters is not cut.
    EXPECT_EQ(viewers::CutBrowserCommand("C:/web/browser.exe"), "C:/web/browser.exe");
    EXPECT_EQ(viewers::CutBrowserCommand("C:/web/browser.exe\""), "C:/web/browser.exe\"");
    EXPECT_EQ(viewers::CutBrowserCommand("xdg-open"), "xdg-open");
    EXPECT_EQ(viewers::CutBrowserCommand(""), "");
}

TEST(BrowserCommand, ComesFromTheHtmClassOrFallsBackToTheStockBrowser) {
    MemoryRegistry reg;
    EXPECT_EQ(viewers::BrowserCommand(reg), viewers::kStockBrowserCommand);
    reg.setString(RootKey::ClassesRoot, ".htm", "", "WebPage");
    EXPECT_EQ(viewers::BrowserCommand(reg), viewers::kStockBrowserCommand) << "class without a command";
    reg.setString(RootKey::ClassesRoot, "WebPage\\shell\\open\\command", "", "\"/opt/b.exe\" %1");
    EXPECT_EQ(viewers::BrowserCommand(reg), "\"/opt/b.exe\" %1");
    EXPECT_EQ(viewers::BrowserCommand(registry::DesktopRegistry()), "xdg-open");
}

struct View : testing::Test {
    HeadlessWindow w;
    MemoryRegistry reg;

    void SetUp() override {
        w.open(test::corpusFile("j3_afr.mdb"));
        w.program.TextEditorPath = "/usr/bin/mousepad";
        w.program.XmlEditorPath = "Notepad.exe";
    }
    std::string start(int format, const std::string& name) {
        const std::string file = test::chooseOutput(w, format, name, &reg).string();
        EXPECT_TRUE(w.ui.messages.empty());
        return file;
    }
};

TEST_F(View, WithoutAnOutputFileNothingStarts) {
    viewers::cmdView_Click(w.ctx, reg);
    ASSERT_EQ(w.ui.messages.size(), 1u);
    EXPECT_EQ(w.ui.messages[0].icon, ui::Icon::Information);
    EXPECT_TRUE(w.ui.started.empty());
    EXPECT_EQ(w.controls.steps[6].value, grids::kUnchecked);
}

TEST_F(View, XmlAsksForTheViewerAndGivesTheBrowserAnUnquotedPath) {
    const std::string file = start(1, "r.xml");
    reg.setString(RootKey::ClassesRoot, ".htm", "", "htmlfile");
    reg.setString(RootKey::ClassesRoot, "htmlfile\\shell\\open\\command", "",
                  "\"C:/Program Files/Web/browser.exe\" -nohome %1");

    viewers::cmdView_Click(w.ctx, reg);  // no answer queued: No, the default
    ASSERT_EQ(w.ui.messages.size(), 1u);
    const ui::Message& q = w.ui.messages[0];
    EXPECT_EQ(q.buttons, ui::Buttons::YesNo);
    EXPECT_EQ(q.icon, ui::Icon::Question);
    EXPECT_EQ(q.defaultButton, ui::DefaultButton::Second);

    w.ui.answer(Answer::Yes);
    viewers::cmdView_Click(w.ctx, reg);
    ASSERT_EQ(w.ui.started.size(), 2u);
    EXPECT_EQ(w.ui.started[0].commandLine, "Notepad.exe \"" + file + "\"");
    EXPECT_EQ(w.ui.started[1].commandLine, "\"C:/Program Files/Web/browser.exe\" " + file);
}

TEST_F(View, TheWorkbookOpensWithExcelFromItsInstallFolder) {
    const std::string file = start(3, "r.xls");
    viewers::cmdView_Click(w.ctx, reg);
    reg.setString(RootKey::LocalMachine, "software\\Microsoft\\Office\\10.0\\Excel\\InstallRoot", "Path",
                  "/opt/office10/");
    viewers::cmdView_Click(w.ctx, reg);
    ASSERT_EQ(w.ui.started.size(), 2u);
    EXPECT_EQ(w.ui.started[0].commandLine, "c:/program files/microsoft office/officex/Excel.exe \"" + file + "\"");
    EXPECT_EQ(w.ui.started[1].commandLine, "/opt/office10/Excel.exe \"" + file + "\"");
}

TEST_F(View, StatisticsAreAppendedOnlyWhenAskedAndOnlyOnce) {
    const std::string file = start(0, "r.txt");
    w.state.lvwGrid[1].addColumn("Table");
    const std::string header = test::readFile(file);

    viewers::cmdView_Click(w.ctx, reg);
    EXPECT_EQ(test::readFile(file), header) << "the box is not ticked";
    EXPECT_FALSE(w.state.StatisticsWritten);

    w.controls.includeStats = grids::kChecked;
    viewers::cmdView_Click(w.ctx, reg);
    const std::string once = test::readFile(file);
    EXPECT_NE(once.find("\r\nTable  \r\n-------\r\n"), std::string::npos);
    viewers::cmdView_Click(w.ctx, reg);
    EXPECT_EQ(test::readFile(file), once);
    EXPECT_EQ(w.ui.started.size(), 3u);
}

TEST_F(View, AViewerThatCannotStartIsReportedAndTheStepStaysOpen) {
    const std::string file = start(0, "r.txt");
    w.ui.failStarts = true;
    viewers::cmdView_Click(w.ctx, reg);
    ASSERT_EQ(w.ui.messages.size(), 1u);
    // The message names the command that failed and the error.
    EXPECT_NE(w.ui.messages[0].text.find("/usr/bin/mousepad \"" + file + "\""), std::string::npos);
    EXPECT_NE(w.ui.messages[0].text.find("53"), std::string::npos);
    EXPECT_EQ(w.controls.steps[6].value, grids::kUnchecked);
}

TEST_F(View, AFormatOutsideTheFourStartsNothingButTicksTheStep) {
    start(0, "r.txt");
    w.state.OutputFormat = 4;
    viewers::cmdView_Click(w.ctx, reg);
    EXPECT_TRUE(w.ui.started.empty());
    EXPECT_TRUE(w.ui.messages.empty());
    EXPECT_EQ(w.controls.steps[6].value, grids::kChecked);
}

// Text and CSV open in the text editor with the quoted path. On a desktop
// without Notepad or an Office folder the launcher hands the report itself,
// blanks and all, to the desktop's opener, whichever the viewer.
TEST_F(View, EveryFormatOpensTheReportItselfOnLinux) {
    std::vector<std::vector<std::string>> spawned;
    const ui::Launcher launcher([](const std::string& p) { return p == "xdg-open" ? "/usr/bin/xdg-open" : ""; },
                                [&](const std::string& p, const std::vector<std::string>& args) {
                                    spawned.push_back(args);
                                    spawned.back().insert(spawned.back().begin(), p);
                                    return true;
                                });
    for (int format : {0, 1, 2, 3}) {
        SCOPED_TRACE(format);
        HeadlessWindow x;
        x.open(test::corpusFile("j3_afr.mdb"));
        const std::string file = test::chooseOutput(x, format, "my report.out", &reg).string();
        viewers::cmdView_Click(x.ctx, reg);
        ASSERT_EQ(x.ui.started.size(), 1u);
        if (format == 0 || format == 2) {
            EXPECT_EQ(x.ui.started[0].commandLine, "Notepad.exe \"" + file + "\"");
            EXPECT_EQ(x.ui.started[0].style, ui::WindowStyle::MaximizedFocus);
        }
        EXPECT_EQ(x.controls.steps[6].value, grids::kChecked);
        EXPECT_TRUE(x.controls.steps[6].bold);
        EXPECT_FALSE(x.controls.enabledState.at(Control::cmdOut));
        EXPECT_FALSE(x.controls.enabledState.at(Control::mnuOutPut));
        spawned.clear();
        launcher.start(x.ui.started[0].commandLine, x.ui.started[0].style);
        EXPECT_EQ(spawned, (std::vector<std::vector<std::string>>{{"/usr/bin/xdg-open", file}}));
    }
}

}  // namespace
