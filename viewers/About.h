#pragma once
// The About box's texts and its system information button.
#include <functional>
#include <string>

#include "platform/registry/Registry.h"
#include "platform/ui/Ui.h"

namespace ql::viewers {

inline constexpr const char* kProductName = "Quarrylantern";

struct AboutText {
    std::string caption;      // the window title
    std::string title;        // the product name
    std::string version;      // "Version 2.1.3"
    std::string description;  // three lines joined with "\r\n"
    std::string homepage;     // the maker's web address
};

AboutText AboutBoxText(int major, int minor, int revision);

inline constexpr const char* kSysInfoUnavailable = "System Information Is Unavailable At This Time";

// The system information tool's path from the registry, or empty.
// `fileExists` tests the second location's MSINFO32.EXE.
std::string FindSysInfo(const registry::Registry& registry,
                        const std::function<bool(const std::string&)>& fileExists);

// Starts the tool, or says that it is unavailable (always the case on a
// Linux desktop, whose registry view has no such key).
void StartSysInfo(const registry::Registry& registry, ui::Ui& ui,
                  const std::function<bool(const std::string&)>& fileExists);

}  // namespace ql::viewers
