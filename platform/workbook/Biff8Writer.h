#pragma once
// The "Workbook" stream of an Excel 97-2003 file (BIFF8 records).
#include <string>

#include "platform/workbook/WorkbookModel.h"

namespace ql::workbook {

// Streams shorter than this land in the compound file's mini stream; Excel
// itself never writes a workbook that small, so the stream is padded after
// its last record to keep readers on their usual path.
inline constexpr size_t MinWorkbookStreamSize = 4096;

// The bytes of the workbook stream: the globals (code page, window, fonts,
// formats of cells, the sheet directory, the shared string table) followed
// by one substream per sheet. The model must be valid (at least one sheet,
// names checked, cells inside the grid, texts within the cell limit); a model
// that is not raises std::invalid_argument, as does a workbook too large for
// the format's 32-bit stream offsets.
std::string buildWorkbookStream(const WorkbookModel& model);

}  // namespace ql::workbook
