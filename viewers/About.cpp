#include "viewers/About.h"

#include "env/RegistryValue.h"
#include "viewers/WebSite.h"

namespace ql::viewers {

AboutText AboutBoxText(int major, int minor, int revision) {
    AboutText t;
    t.caption = std::string("About ") + kProductName;
    t.title = kProductName;
    t.version = "Version " + std::to_string(major) + "." + std::to_string(minor) + "." +
                std::to_string(revision);
    t.description =
        "Looks inside an Access application and lists what it is made of\r\n"
        "Get the Code, Find the Controls, See what it REALLY looks like\r\n"
        "Orvex Software - www.orvex.example - support@orvex.example";
    t.homepage = kMakerWebAddress;
    return t;
}

std::string FindSysInfo(const registry::Registry& registry,
                        const std::function<bool(const std::string&)>& fileExists) {
    std::string path;
    if (env::ReadRegistryValue(registry, registry::RootKey::LocalMachine,
                               "SOFTWARE\\Microsoft\\Shared Tools\\MSINFO", "PATH", path))
        return path;
    std::string folder;
    if (env::ReadRegistryValue(registry, registry::RootKey::LocalMachine,
                               "SOFTWARE\\Microsoft\\Shared Tools Location", "MSINFO", folder)) {
        const auto candidate = folder + "/MSINFO32.EXE";
        if (fileExists(candidate)) return candidate;
    }
    return {};
}

void StartSysInfo(const registry::Registry& registry, ui::Ui& ui,
                  const std::function<bool(const std::string&)>& fileExists) {
    const auto path = FindSysInfo(registry, fileExists);
    if (path.empty()) {
        ui.message(kSysInfoUnavailable, kProductName);
        return;
    }
    // Quoted so that a path with blanks stays one program name.
    ui.startProcess("\"" + path + "\"", ui::WindowStyle::NormalFocus);
}

}  // namespace ql::viewers
