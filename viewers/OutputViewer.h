#pragma once
// The view command: finishes the report and opens it in the program that
// suits its format (the text editor for text and CSV, the browser or the XML
// editor for XML, the spreadsheet for the workbook).
#include <string>

#include "grids/WindowContext.h"
#include "platform/registry/Registry.h"

namespace ql::viewers {

// Stands in for the system's stock web browser when no program is
// registered for ".htm"; the trailing " xx" is kept from the registered
// form, whose argument it replaces.
inline constexpr const char* kStockBrowserCommand = "/usr/bin/x-www-browser xx";

// The command line registered for opening ".htm" files.
std::string BrowserCommand(const registry::Registry& registry);

// A registered command cut just behind its program: when ".exe" (found
// without case) starts before the last four characters, the text up to the
// extension and the one character after it (a closing quote, say). Other
// commands stay as they are.
std::string CutBrowserCommand(const std::string& command);

// "Results": the statistics body when chkIncludeStats asks for it, the XML
// closing line, then the viewer started maximised. Every outcome, a viewer
// that cannot be started included, is shown through ctx.ui; nothing is
// thrown. The first form asks the desktop's registry.
void cmdView_Click(grids::WindowContext& ctx);
void cmdView_Click(grids::WindowContext& ctx, const registry::Registry& registry);

}  // namespace ql::viewers
