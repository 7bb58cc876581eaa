#pragma once
// The screen of a run without one: every message box is answered with its
// default button, as a user pressing Enter would, and kept; status texts go
// to whoever listens; started programs are kept but never started (nobody
// would look at an editor opened by a batch run). Asking for a file dialog
// is a fault of the caller: the tool names every file on its command line.
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/ui/Ui.h"

namespace ql::reporttool {

// A file dialog was asked for where nobody can answer it.
class DialogRequested : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

class HeadlessUi : public ui::Ui {
public:
    struct Started {
        std::string commandLine;
        ui::WindowStyle style;
    };

    ui::Answer messageBox(const ui::Message& message) override;
    ui::FileDialogResult showOpen(const ui::FileDialog& dialog) override;
    ui::FileDialogResult showSave(const ui::FileDialog& dialog) override;
    void setStatusText(const std::string& text) override;
    void setProgress(int value, int maximum) override;
    void setMousePointer(ui::MousePointer) override {}
    void startProcess(const std::string& commandLine, ui::WindowStyle style) override;
    void doEvents() override {}

    // Called with every status text as it is set.
    std::function<void(const std::string&)> onStatus;

    std::vector<ui::Message> messages;
    std::vector<Started> started;
    std::string status;
    int progressValue = 0;
    int progressMaximum = 0;
};

}  // namespace ql::reporttool
