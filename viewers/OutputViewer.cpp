#include "viewers/OutputViewer.h"

#include <algorithm>
#include <cctype>

#include "env/RegistryValue.h"
#include "grids/ErrorLog.h"
#include "report/OutputDestination.h"
#include "viewers/About.h"

namespace ql::viewers {

std::string BrowserCommand(const registry::Registry& registry) {
    std::string htmlClass;
    std::string command;
    if (env::ReadRegistryValue(registry, registry::RootKey::ClassesRoot, ".htm", "", htmlClass) &&
        env::ReadRegistryValue(registry, registry::RootKey::ClassesRoot, htmlClass + "\\shell\\open\\command", "",
                               command))
        return command;
    return kStockBrowserCommand;
}

std::string CutBrowserCommand(const std::string& command) {
    std::string lower = command;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const size_t at = lower.find(".exe");
    // Counted from 1 as the runtime does: the extension starts at at + 1 and
    // the last four characters at size - 3.
    if (at == std::string::npos || at + 1 >= command.size() - 3) return command;
    return command.substr(0, at + 5);
}

void cmdView_Click(grids::WindowContext& ctx) {
    const registry::DesktopRegistry desktop;
    cmdView_Click(ctx, desktop);
}

void cmdView_Click(grids::WindowContext& ctx, const registry::Registry& registry) {
    using grids::Control;
    const std::string& path = ctx.state.OutputPath;
    std::string commandLine;
    try {
        if (path.empty()) {
            ctx.ui.message("No Output File Given", "NO DESTINATION", ui::Buttons::OK, ui::Icon::Information);
            return;
        }
        const std::int16_t format = ctx.state.OutputFormat;
        ctx.controls.setEnabled(Control::cmdOut, false);
        ctx.controls.setEnabled(Control::mnuOutPut, false);

        report::finishReport(ctx, ctx.controls.chkIncludeStats() == grids::kChecked);

        switch (format) {
        case grids::kFormatText:
        case grids::kFormatCsv:
            commandLine = ctx.program.TextEditorPath + " \"" + path + "\"";
            break;
        case grids::kFormatXml:
            if (ctx.ui.message("Show in Browser [Yes]\r\nor in XML Editor [No] ?\r\n"
                               "(Browser may have difficulty with &, < and > symbols)",
                               "PICK OUTPUT VIEWER", ui::Buttons::YesNo, ui::Icon::Question,
                               ui::DefaultButton::Second) == ui::Answer::Yes) {
                // The browser gets the path unquoted, unlike the editors.
                commandLine = CutBrowserCommand(BrowserCommand(registry)) + " " + path;
            } else {
                commandLine = ctx.program.XmlEditorPath + " \"" + path + "\"";
            }
            break;
        case grids::kFormatExcel:
            commandLine = env::GetOfficeInstallPath(registry, "Excel", &ctx.program.ExcelVersion) + "Excel.exe \"" +
                          path + "\"";
            break;
        default:
            break;
        }
    } catch (const std::exception& e) {
        // A file-system failure of the report's rewrite is this trap's too:
        // it never closes the window.
        ctx.ui.message(grids::asRuntimeError(e).description(), kProductName);
        return;
    }

    if (!commandLine.empty()) {
        try {
            ctx.ui.startProcess(commandLine, ui::WindowStyle::MaximizedFocus);
        } catch (const RuntimeError& error) {
            ctx.ui.message("Cannot open the results file " + path + "\r\nCommand: " + commandLine + "\r\n" +
                               "Error " + std::to_string(error.number()) + ": " + error.description(),
                           kProductName, ui::Buttons::OK, ui::Icon::Exclamation);
            return;
        }
    }
    ctx.controls.setStepValue(grids::kStepResults, grids::kChecked);
    ctx.controls.setStepBold(grids::kStepResults, true);
}

}  // namespace ql::viewers
