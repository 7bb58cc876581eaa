#pragma once
// The program's help: the first-run rule of the start-up and the help
// command. The viewer is the program's own help window (there is no
// separate help program to find on Linux); it is reached through this
// interface so that the start-up can be tried with a viewer that is absent.
#include <string>

#include "platform/profile/SettingsFile.h"
#include "platform/ui/Ui.h"

namespace ql::viewers {

class HelpViewer {
public:
    virtual ~HelpViewer() = default;
    // Whether the viewer can be started at all.
    virtual bool present() const = 0;
    // Shows `helpFile` at topic `contextId` (0: its first page). Throws
    // ui::RuntimeError when the viewer cannot be started.
    virtual void show(const std::string& helpFile, int contextId, ui::WindowStyle style) = 0;
};

// The help "file": help/index.html in the program folder.
std::string HelpFilePath(const std::string& programFolder);

inline constexpr const char* kMissingHelpViewerTitle = "MISSING COMPILED HELP VIEWER FILE";
std::string MissingHelpViewerText(const std::string& windowsFolder);

// On a first run (setting Run/FirstTime exactly "Yes", the default) shows the
// help maximised and records "No"; with the viewer absent it shows the
// missing-viewer message instead and leaves the setting, so the message
// comes again at the next start. Returns true when the help was shown.
bool FirstRunHelp(const profile::SettingsFile& settings, HelpViewer& viewer, ui::Ui& ui,
                  const std::string& windowsFolder, const std::string& helpFile);

// The help command: the help at its contents topic, in a normal window.
// Throws ui::RuntimeError (file not found) when the viewer is absent.
inline constexpr int kContextHelpId = 100;
void ShowContextHelp(HelpViewer& viewer, const std::string& helpFile);

}  // namespace ql::viewers
