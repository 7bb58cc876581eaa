#pragma once
// The real main window, offscreen, with a scripted UI, an in-memory
// registry, a settings file in a temporary folder and a help viewer that
// records what it shows. The commands behind buttons and menu items are
// recorded; they run only in a window started with loadRunning(), so that
// the forwarding can be checked apart from what the commands do.
#include <QApplication>
#include <QWidget>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "app/frmQuarrylantern.h"
#include "tests/support/ScriptedUi.h"
#include "tests/support/TempFolder.h"

namespace ql::test {

QApplication& application();

// Runs `act` on the modal dialog that the next blocking call opens.
void onModal(std::function<void(QWidget*)> act);

std::string text(const QString& s);

struct RecordingViewer : viewers::HelpViewer {
    bool isPresent = true;
    struct Shown {
        std::string file;
        int context;
        ui::WindowStyle style;
    };
    std::vector<Shown> shown;
    bool present() const override { return isPresent; }
    void show(const std::string& file, int context, ui::WindowStyle style) override {
        shown.push_back({file, context, style});
    }
};

// The scripted screen, with a look at the window at each message box: what
// the controls show while a command is still running.
struct WatchedUi : ScriptedUi {
    std::function<void(const ui::Message&)> onMessage;
    ui::Answer messageBox(const ui::Message& message) override {
        if (onMessage) onMessage(message);
        return ScriptedUi::messageBox(message);
    }
};

class TestWindow : public app::frmQuarrylantern {
public:
    using frmQuarrylantern::frmQuarrylantern;
    bool runCommands = false;
    std::vector<std::string> calls;

    void cmdFind_Click() override { record("cmdFind_Click", [this] { frmQuarrylantern::cmdFind_Click(); }); }
    void cmdOut_Click() override { record("cmdOut_Click", [this] { frmQuarrylantern::cmdOut_Click(); }); }
    void cmdAnalyse_Click() override { record("cmdAnalyse_Click", [this] { frmQuarrylantern::cmdAnalyse_Click(); }); }
    void cmdView_Click() override { record("cmdView_Click", [this] { frmQuarrylantern::cmdView_Click(); }); }
    // The report side of a format is not this window's concern: never run.
    void optFormat_Click(int index) override { calls.push_back("optFormat_Click " + std::to_string(index)); }
    void cmdClose_Click() override {
        calls.push_back("cmdClose_Click");
        frmQuarrylantern::cmdClose_Click();
    }
private:
    void record(const char* name, const std::function<void()>& base) {
        calls.push_back(name);
        if (runCommands) base();
    }
};

class WindowTest : public testing::Test {
protected:
    WindowTest();
    ~WindowTest() override;

    // Builds the window (without its start-up).
    TestWindow& window();
    // Builds the window and runs its start-up, answering the security
    // question with `security`.
    TestWindow& load(ui::Answer security = ui::Answer::Yes);
    // A new window whose commands run, loaded with Yes; its count-down
    // ticks fast so that a run does not wait two real seconds.
    TestWindow& loadRunning();

    // "Database.." with both files chosen in the dialogs (copies).
    void chooseDatabase(const std::string& database, const std::string& workgroup);
    // Analyse, once the output step has put the error log in place.
    void analyse();
    // A click on a kind in the results list, as the user makes it.
    void clickKind(const char* kind);
    // The grids the results tab would show (the tab itself may be hidden).
    std::vector<int> shownGrids() const;

    TempFolder program, user, data;
    profile::SettingsFile settings{program.path(), user.path()};
    WatchedUi ui;
    registry::DesktopRegistry registry;
    env::ProgramValues values;
    RecordingViewer help;
    int programEnds = 0;
    std::unique_ptr<TestWindow> window_;
};

}  // namespace ql::test
