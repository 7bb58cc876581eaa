#pragma once
// The maker's web site, opened in the browser registered for "http".
#include <string>

#include "platform/registry/Registry.h"
#include "platform/ui/Ui.h"

namespace ql::viewers {

inline constexpr const char* kMakerWebAddress = "http://www.orvex.example/quarrylantern/";
// Debian's name for the system's stock web browser.
inline constexpr const char* kStockBrowser = "x-www-browser";

// The program part of a registered open command: a command that starts with
// a quoted path keeps that path with its quotes (so a path with blanks stays
// one word); otherwise the text before the first quote. A command without
// quotes stays as it is.
std::string ProgramPartOfCommand(const std::string& command);

// The command line that opens the web site.
std::string WebSiteCommandLine(const registry::Registry& registry);

// Starts the browser maximised; throws ui::RuntimeError when it cannot start.
void OpenWebSite(const registry::Registry& registry, ui::Ui& ui);

}  // namespace ql::viewers
