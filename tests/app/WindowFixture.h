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

// The window, with a stand-in that records each command a click reaches and
// lets it run only when the test asks for it (closing always runs; the
// report side of a format is not the window's concern and never runs).
class TestWindow : public app::frmQuarrylantern {
public:
    explicit TestWindow(app::Services services) : frmQuarrylantern(withRecorder(std::move(services), *this)) {}
    bool runCommands = false;
    bool runFormats = false;  // a test that chooses a format itself
    std::vector<std::string> calls;

private:
    static app::Services withRecorder(app::Services services, TestWindow& window) {
        services.commandStarting = [&window](const std::string& command) {
            window.calls.push_back(command);
            if (command == "cmdClose_Click") return true;
            if (command.starts_with("optFormat_Click")) return window.runFormats;
            return window.runCommands;
        };
        return services;
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
