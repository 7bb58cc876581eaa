#include "viewers/About.h"
#include "viewers/EditorChoice.h"
#include "viewers/WebSite.h"

#include <gtest/gtest.h>

#include "tests/support/ScriptedUi.h"
#include "tests/support/TempFolder.h"

using namespace ql::viewers;
using ql::env::EditorKind;
using ql::env::ProgramValues;
using ql::profile::SettingsFile;
using ql::registry::MemoryRegistry;
using ql::registry::RootKey;
using ql::test::ScriptedUi;
using ql::test::TempFolder;
using ql::ui::WindowStyle;

namespace {

struct EditorFixture : testing::Test {
    TempFolder program, user;
    SettingsFile settings{program.path(), user.path()};
    ProgramValues values;
    ScriptedUi ui;
    EditorChoice choice{values, settings, ui};
};

// The XML kind is stored through the window's dialog.
TEST_F(EditorFixture, OkStoresTheTextKindUnderItsOwnKeyEvenWhenEmpty) {
    values.editorKind = EditorKind::Text;
    choice.cmdOK_Click("");
    EXPECT_EQ(values.TextEditorPath, "");
    EXPECT_EQ(values.XmlEditorPath, "Notepad.exe");
    EXPECT_EQ(settings.ReadSetting("Paths", "Editor", "d"), "");
    EXPECT_EQ(settings.ReadSetting("Paths", "XMLEditor", "d"), "d");
}

TEST_F(EditorFixture, BrowseStartsFromTheTextAndKeepsItOnCancel) {
    ui.chooseFile("/usr/bin/gedit");
    EXPECT_EQ(choice.cmdBrowse_Click("Notepad.exe"), "/usr/bin/gedit");
    ASSERT_EQ(ui.dialogs.size(), 1u);
    EXPECT_FALSE(ui.dialogs[0].save);
    EXPECT_EQ(ui.dialogs[0].request.fileName, "Notepad.exe");
    ui.cancelFile();
    EXPECT_EQ(choice.cmdBrowse_Click("/usr/bin/gedit"), "/usr/bin/gedit");
    // Browsing alone stores nothing.
    EXPECT_FALSE(std::filesystem::exists(settings.path()));
    EXPECT_EQ(values.TextEditorPath, "Notepad.exe");
}

TEST(WebSite, RegisteredCommandIsCutToItsProgramPart) {
    EXPECT_EQ(ProgramPartOfCommand("\"C:\\Program Files\\b\\browser.exe\" -nohome %1"),
              "\"C:\\Program Files\\b\\browser.exe\"");
    EXPECT_EQ(ProgramPartOfCommand("  \"/opt/b b/browser\""), "\"/opt/b b/browser\"");
    EXPECT_EQ(ProgramPartOfCommand("/usr/bin/firefox \"%1\""), "/usr/bin/firefox");
    EXPECT_EQ(ProgramPartOfCommand("\"/unterminated"), "\"/unterminated");
    EXPECT_EQ(ProgramPartOfCommand("xdg-open"), "xdg-open");

    MemoryRegistry r;
    EXPECT_EQ(WebSiteCommandLine(r), std::string("x-www-browser ") + kMakerWebAddress);
    r.setString(RootKey::LocalMachine, "SOFTWARE\\Classes\\http\\shell\\open\\command", "",
                "\"/opt/Web Browser/browser\" -osint -url \"%1\"");
    EXPECT_EQ(WebSiteCommandLine(r), std::string("\"/opt/Web Browser/browser\" ") + kMakerWebAddress);
}

TEST(About, SystemInformationFromEitherKeyOrUnavailable) {
    MemoryRegistry r;
    ScriptedUi ui;
    std::vector<std::string> probed;
    bool exists = false;
    auto fileExists = [&](const std::string& f) {
        probed.push_back(f);
        return exists;
    };

    StartSysInfo(r, ui, fileExists);  // its message is checked where the About box shows it
    EXPECT_EQ(ui.messages.size(), 1u);
    EXPECT_TRUE(ui.started.empty());

    r.setString(RootKey::LocalMachine, "SOFTWARE\\Microsoft\\Shared Tools Location", "MSINFO", "/opt/msinfo");
    StartSysInfo(r, ui, fileExists);  // folder registered, tool not there
    EXPECT_EQ(ui.messages.size(), 2u);
    EXPECT_EQ(probed.back(), "/opt/msinfo/MSINFO32.EXE");
    exists = true;
    StartSysInfo(r, ui, fileExists);
    ASSERT_EQ(ui.started.size(), 1u);
    EXPECT_EQ(ui.started[0].commandLine, "\"/opt/msinfo/MSINFO32.EXE\"");
    EXPECT_EQ(ui.started[0].style, WindowStyle::NormalFocus);

    r.setString(RootKey::LocalMachine, "SOFTWARE\\Microsoft\\Shared Tools\\MSINFO", "PATH", "/opt/si tool");
    StartSysInfo(r, ui, fileExists);
    EXPECT_EQ(ui.started.back().commandLine, "\"/opt/si tool\"");
}

}  // namespace
