#pragma once
// What a command of the main window works with: the window's state, the
// screen (dialogs, status, progress, pointer, processes), the controls, the
// program-wide values and the settings file. The window and the headless
// report tool each build one; the commands themselves are the same code.
#include <string>

#include "env/ProgramValues.h"
#include "grids/WindowControls.h"
#include "grids/WindowState.h"
#include "platform/profile/SettingsFile.h"
#include "platform/ui/Ui.h"

namespace ql::grids {

struct WindowContext {
    WindowState& state;
    ui::Ui& ui;
    WindowControls& controls;
    env::ProgramValues& program;
    profile::SettingsFile& settings;
    // The folder of the program (settings defaults, temporary files).
    std::string programFolder;
};

}  // namespace ql::grids
