#pragma once
// The editor dialog's work, without its widgets: what it shows for the
// editor kind, the browse step and what OK stores.
#include <string>

#include "env/ProgramValues.h"
#include "platform/profile/SettingsFile.h"
#include "platform/ui/Ui.h"

namespace ql::viewers {

struct EditorForm {
    std::string caption;
    std::string lblWhich;
    std::string txtEditor;
};

class EditorChoice {
public:
    EditorChoice(env::ProgramValues& program, const profile::SettingsFile& settings, ui::Ui& ui);

    // Caption, label and the stored command of the current editor kind.
    EditorForm Form_Initialize();
    // Shows the file dialog on `current`; the chosen name, or `current`
    // when the dialog is cancelled.
    std::string cmdBrowse_Click(const std::string& current);
    // Stores `text` for the current kind, in the settings file and in
    // memory. Nothing is checked: an empty text stores an empty command.
    void cmdOK_Click(const std::string& text);

    static constexpr const char* kBrowseFilter = "Executable Files (*.exe)|*.exe|All Files (*.*)|*.*";
    static constexpr const char* kBrowseDefaultExtension = ".EXE";

private:
    env::ProgramValues& program_;
    const profile::SettingsFile& settings_;
    ui::Ui& ui_;
};

}  // namespace ql::viewers
