#pragma once
// The real main window, offscreen, with a scripted UI, an in-memory
// registry, a settings file in a temporary folder and a help viewer that
// records what it shows. Commands of later work steps are recorded instead
// of run, so that the forwarding of buttons and menu items can be checked.
#include <QApplication>
#include <QTimer>
#include <QWidget>

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

class RecordingWindow : public app::frmQuarrylantern {
public:
    using frmQuarrylantern::frmQuarrylantern;
    std::vector<std::string> calls;

    void cmdFind_Click() override { calls.push_back("cmdFind_Click"); }
    void cmdOut_Click() override { calls.push_back("cmdOut_Click"); }
    void cmdAnalyse_Click() override { calls.push_back("cmdAnalyse_Click"); }
    void cmdView_Click() override { calls.push_back("cmdView_Click"); }
    void cmdClose_Click() override {
        calls.push_back("cmdClose_Click");
        frmQuarrylantern::cmdClose_Click();
    }
    void MakeGridVisible(int grid) override { calls.push_back("MakeGridVisible " + std::to_string(grid)); }
    void cmdTrans_Click(int index) override {
        calls.push_back("cmdTrans_Click " + std::to_string(index));
        frmQuarrylantern::cmdTrans_Click(index);
    }
    void TransTables() override { calls.push_back("TransTables"); }
    void TransViews() override { calls.push_back("TransViews"); }
    void TransIndexes() override { calls.push_back("TransIndexes"); }
    void TransRelations() override { calls.push_back("TransRelations"); }
    void TransForms() override { calls.push_back("TransForms"); }
    void TransReports() override { calls.push_back("TransReports"); }
    void TransMacros() override { calls.push_back("TransMacros"); }
    void TransModules() override { calls.push_back("TransModules"); }
    void TransDataPages() override { calls.push_back("TransDataPages"); }
};

class ShellTest : public testing::Test {
protected:
    ShellTest();
    ~ShellTest() override;

    // Builds the window (without its start-up).
    RecordingWindow& window();
    // Builds the window and runs its start-up, answering the security
    // question with `security`.
    RecordingWindow& load(ui::Answer security = ui::Answer::Yes);

    TempFolder program, user;
    profile::SettingsFile settings{program.path(), user.path()};
    WatchedUi ui;
    registry::DesktopRegistry registry;
    env::ProgramValues values;
    RecordingViewer help;
    int programEnds = 0;
    std::unique_ptr<RecordingWindow> window_;
};

}  // namespace ql::test
