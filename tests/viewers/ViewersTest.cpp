#include "viewers/About.h"
#include "viewers/EditorChoice.h"
#include "viewers/Help.h"
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
using ql::ui::Buttons;
using ql::ui::Icon;
using ql::ui::WindowStyle;

namespace {

struct FakeViewer : HelpViewer {
    bool isPresent = true;
    std::vector<std::pair<std::string, int>> shown;
    std::vector<WindowStyle> styles;
    bool present() const override { return isPresent; }
    void show(const std::string& file, int context, WindowStyle style) override {
        shown.emplace_back(file, context);
        styles.push_back(style);
    }
};

struct EditorFixture : testing::Test {
    TempFolder program, user;
    SettingsFile settings{program.path(), user.path()};
    ProgramValues values;
    ScriptedUi ui;
    EditorChoice choice{values, settings, ui};
};

TEST_F(EditorFixture, FormShowsTheKindAndTheStoredCommand) {
    values.editorKind = EditorKind::Text;
    auto form = choice.Form_Initialize();
    EXPECT_EQ(form.caption, "Locate User TEXT Editor");
    EXPECT_EQ(form.lblWhich, "TEXT Editor...");
    EXPECT_EQ(form.txtEditor, "Notepad.exe");  // nothing stored: the current command

    values.editorKind = EditorKind::Xml;
    values.XmlEditorPath = "/usr/bin/xmlstarlet";
    form = choice.Form_Initialize();
    EXPECT_EQ(form.caption, "Locate User XML Editor");
    EXPECT_EQ(form.lblWhich, "XML Editor...");
    EXPECT_EQ(form.txtEditor, "/usr/bin/xmlstarlet");

    settings.WriteSetting("Paths", "XMLEditor", "/opt/xe");
    EXPECT_EQ(choice.Form_Initialize().txtEditor, "/opt/xe");
}

TEST_F(EditorFixture, OkStoresForItsKindEvenWhenEmpty) {
    values.editorKind = EditorKind::Xml;
    choice.cmdOK_Click("/opt/xe");
    EXPECT_EQ(values.XmlEditorPath, "/opt/xe");
    EXPECT_EQ(values.TextEditorPath, "Notepad.exe");
    EXPECT_EQ(settings.ReadSetting("Paths", "XMLEditor", "d"), "/opt/xe");
    EXPECT_EQ(settings.ReadSetting("Paths", "Editor", "d"), "d");

    values.editorKind = EditorKind::Text;
    choice.cmdOK_Click("");
    EXPECT_EQ(values.TextEditorPath, "");
    EXPECT_EQ(settings.ReadSetting("Paths", "Editor", "d"), "");
}

TEST_F(EditorFixture, BrowseOffersExecutablesAndKeepsTheTextOnCancel) {
    ui.chooseFile("/usr/bin/gedit");
    EXPECT_EQ(choice.cmdBrowse_Click("Notepad.exe"), "/usr/bin/gedit");
    ASSERT_EQ(ui.dialogs.size(), 1u);
    EXPECT_FALSE(ui.dialogs[0].save);
    EXPECT_EQ(ui.dialogs[0].request.fileName, "Notepad.exe");
    EXPECT_EQ(ui.dialogs[0].request.filter, "Executable Files (*.exe)|*.exe|All Files (*.*)|*.*");
    EXPECT_EQ(ui.dialogs[0].request.defaultExtension, ".EXE");
    ui.cancelFile();
    EXPECT_EQ(choice.cmdBrowse_Click("/usr/bin/gedit"), "/usr/bin/gedit");
    // Browsing alone stores nothing.
    EXPECT_FALSE(std::filesystem::exists(settings.path()));
    EXPECT_EQ(values.TextEditorPath, "Notepad.exe");
}

struct HelpFixture : testing::Test {
    TempFolder program, user;
    SettingsFile settings{program.path(), user.path()};
    FakeViewer viewer;
    ScriptedUi ui;
};

TEST_F(HelpFixture, FirstRunShowsHelpOnceAndRecordsNo) {
    EXPECT_TRUE(FirstRunHelp(settings, viewer, ui, "/usr/bin/", "/p/help/index.html"));
    ASSERT_EQ(viewer.shown.size(), 1u);
    EXPECT_EQ(viewer.shown[0].first, "/p/help/index.html");
    EXPECT_EQ(viewer.styles[0], WindowStyle::MaximizedFocus);
    EXPECT_EQ(settings.ReadSetting("Run", "FirstTime", "Yes"), "No");
    EXPECT_FALSE(FirstRunHelp(settings, viewer, ui, "/usr/bin/", "/p/help/index.html"));
    EXPECT_EQ(viewer.shown.size(), 1u);
    EXPECT_TRUE(ui.messages.empty());
}

TEST_F(HelpFixture, OnlyAnExactYesIsAFirstRun) {
    for (const char* value : {"yes", "YES", "no", " Yes2"}) {
        settings.WriteSetting("Run", "FirstTime", value);
        EXPECT_FALSE(FirstRunHelp(settings, viewer, ui, "/usr/bin/", "h")) << value;
    }
    EXPECT_TRUE(viewer.shown.empty());
    settings.WriteSetting("Run", "FirstTime", "Yes");
    EXPECT_TRUE(FirstRunHelp(settings, viewer, ui, "/usr/bin/", "h"));
}

TEST_F(HelpFixture, MissingViewerGivesTheMessageAtEveryStart) {
    viewer.isPresent = false;
    for (int start = 0; start < 2; ++start) {
        EXPECT_FALSE(FirstRunHelp(settings, viewer, ui, "/usr/bin/", "h"));
        ASSERT_EQ(ui.messages.size(), static_cast<std::size_t>(start + 1));
        const auto& m = ui.messages.back();
        EXPECT_EQ(m.text,
                  "Can't find Compiled Help Viewer file HH.EXE to run the Help File\r\n"
                  "Please locate this file and copy it to\r\n"
                  "/usr/bin/ directory please");
        EXPECT_EQ(m.title, "MISSING COMPILED HELP VIEWER FILE");
        EXPECT_EQ(m.icon, Icon::Information);
        EXPECT_EQ(m.buttons, Buttons::OK);
    }
    EXPECT_FALSE(std::filesystem::exists(settings.path()));
}

TEST_F(HelpFixture, ContextHelpOpensTopic100OrRaisesFileNotFound) {
    ShowContextHelp(viewer, "h");
    ASSERT_EQ(viewer.shown.size(), 1u);
    EXPECT_EQ(viewer.shown[0].second, 100);
    EXPECT_EQ(viewer.styles[0], WindowStyle::NormalFocus);
    viewer.isPresent = false;
    EXPECT_THROW(ShowContextHelp(viewer, "h"), ql::ui::RuntimeError);
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

    ql::registry::DesktopRegistry desktop;
    ScriptedUi ui;
    OpenWebSite(desktop, ui);
    ASSERT_EQ(ui.started.size(), 1u);
    EXPECT_EQ(ui.started[0].commandLine, std::string("xdg-open ") + kMakerWebAddress);
    EXPECT_EQ(ui.started[0].style, WindowStyle::MaximizedFocus);
}

TEST(About, TextsCarryTheVersionAndTheTagline) {
    const auto t = AboutBoxText(2, 1, 3);
    EXPECT_EQ(t.version, "Version 2.1.3");
    EXPECT_EQ(t.title, "Quarrylantern");
    const auto first = t.description.find("\r\n");
    const auto second = t.description.find("\r\n", first + 2);
    ASSERT_NE(second, std::string::npos);
    EXPECT_EQ(t.description.find("\r\n", second + 2), std::string::npos);  // three lines
    EXPECT_NE(t.description.substr(0, first).find("Access application"), std::string::npos);
    EXPECT_EQ(t.description.substr(first + 2, second - first - 2),
              "Get the Code, Find the Controls, See what it REALLY looks like");
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

    StartSysInfo(r, ui, fileExists);
    ASSERT_EQ(ui.messages.size(), 1u);
    EXPECT_EQ(ui.messages[0].text, "System Information Is Unavailable At This Time");
    EXPECT_EQ(ui.messages[0].title, "Quarrylantern");
    EXPECT_EQ(ui.messages[0].icon, Icon::None);
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

    // The Linux desktop view has neither key.
    ScriptedUi linuxUi;
    StartSysInfo(ql::registry::DesktopRegistry(), linuxUi, [](const std::string&) { return true; });
    ASSERT_EQ(linuxUi.messages.size(), 1u);
    EXPECT_EQ(linuxUi.messages[0].text, "System Information Is Unavailable At This Time");
}

}  // namespace
