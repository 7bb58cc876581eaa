#pragma once
// Choosing the report's format and file, starting the report (a fresh error
// log beside it and the header), finishing it before it is viewed and
// closing it when the window closes. The window's commands and the headless
// report tool are built from the same functions, so both write the same
// files.
#include <cstdint>
#include <string>

#include "grids/WindowContext.h"
#include "platform/registry/Registry.h"

namespace ql::report {

// The save dialog's filter and default extension for a format:
// "Text Files (*.TXT)|*.TXT" and ".TXT" for text.
std::string outputFilter(std::int16_t format);
std::string outputDefaultExtension(std::int16_t format);

// The dialog's initial folder from the stored output path: the text before
// its first "/" (deliberately narrow: empty for an absolute path), or the
// path less its last character when it holds no "/" at all.
std::string outputInitialFolder(const std::string& storedPath);

// The format button `index` was clicked: the format is stored; for the
// workbook the installed Excel version is read again into
// ctx.program.ExcelVersion. The first form asks the desktop's registry.
void optFormat_Click(grids::WindowContext& ctx, int index);
void optFormat_Click(grids::WindowContext& ctx, int index, const registry::Registry& registry);

// "Output To...": asks for the file (settings key Paths/Output), confirms
// an overwrite, remembers the choice, then startReport and the controls of
// the next step. Every outcome is shown through ctx.ui; nothing is thrown.
void cmdOut_Click(grids::WindowContext& ctx);

// What the output command does once the file is settled: `path` becomes
// the output file, a fresh "Errors.Log" beside it gets its first line, and
// the header of the state's OutputFormat is written (for the workbook,
// saved). Raises ql::RuntimeError on a file or automation failure.
void startReport(grids::WindowContext& ctx, const std::string& path);

// What the view command does before it starts a viewer: the statistics body
// when `includeStats` and not yet written, and for XML the closing root line
// (exactly one, however often this runs). Raises ql::RuntimeError.
void finishReport(grids::WindowContext& ctx, bool includeStats);

// The close command's part: an XML report gets its closing root line once
// more (nothing happens without an output file), the spreadsheet objects
// are let go. Raises ql::RuntimeError when the XML report cannot be
// rewritten.
void closeOutput(grids::WindowContext& ctx);

// Where the XML rewrite keeps "temp.xml": the program folder, or the
// settings file's per-user folder when the program folder is not writable.
std::string scratchFolder(const grids::WindowContext& ctx);

}  // namespace ql::report
