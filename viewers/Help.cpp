#include "viewers/Help.h"

namespace ql::viewers {

std::string HelpFilePath(const std::string& programFolder) {
    return programFolder + "/help/index.html";
}

std::string MissingHelpViewerText(const std::string& windowsFolder) {
    return "Can't find Compiled Help Viewer file HH.EXE to run the Help File\r\n"
           "Please locate this file and copy it to\r\n" +
           windowsFolder + " directory please";
}

bool FirstRunHelp(const profile::SettingsFile& settings, HelpViewer& viewer, ui::Ui& ui,
                  const std::string& windowsFolder, const std::string& helpFile) {
    // Compared exactly: "yes" or "YES" written by hand is not a first run.
    if (settings.ReadSetting("Run", "FirstTime", "Yes") != "Yes") return false;
    if (!viewer.present()) {
        ui.message(MissingHelpViewerText(windowsFolder), kMissingHelpViewerTitle, ui::Buttons::OK,
                   ui::Icon::Information);
        return false;
    }
    viewer.show(helpFile, 0, ui::WindowStyle::MaximizedFocus);
    settings.WriteSetting("Run", "FirstTime", "No");
    return true;
}

void ShowContextHelp(HelpViewer& viewer, const std::string& helpFile) {
    if (!viewer.present()) throw ui::RuntimeError(runtime_errors::FileNotFound, "File not found");
    viewer.show(helpFile, kContextHelpId, ui::WindowStyle::NormalFocus);
}

}  // namespace ql::viewers
