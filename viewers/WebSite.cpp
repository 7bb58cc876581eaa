#include "viewers/WebSite.h"

#include "env/RegistryValue.h"

namespace ql::viewers {

std::string ProgramPartOfCommand(const std::string& command) {
    const auto quote = command.find('"');
    if (quote == std::string::npos) return command;
    const auto start = command.find_first_not_of(" \t");
    if (start == quote) {
        const auto close = command.find('"', quote + 1);
        if (close == std::string::npos) return command.substr(quote);
        return command.substr(quote, close - quote + 1);
    }
    auto head = command.substr(0, quote);
    head.erase(head.find_last_not_of(" \t") + 1);
    head.erase(0, head.find_first_not_of(" \t"));
    return head;
}

std::string WebSiteCommandLine(const registry::Registry& registry) {
    std::string command;
    if (env::ReadRegistryValue(registry, registry::RootKey::LocalMachine,
                               "SOFTWARE\\Classes\\http\\shell\\open\\command", "", command)) {
        if (command.find('"') != std::string::npos) command = ProgramPartOfCommand(command);
        return command + " " + kMakerWebAddress;
    }
    return std::string(kStockBrowser) + " " + kMakerWebAddress;
}

void OpenWebSite(const registry::Registry& registry, ui::Ui& ui) {
    ui.startProcess(WebSiteCommandLine(registry), ui::WindowStyle::MaximizedFocus);
}

}  // namespace ql::viewers
