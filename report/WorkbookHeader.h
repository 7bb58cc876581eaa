#pragma once
// The Excel form of the report: a workbook of ten named sheets whose first
// sheet carries the header.
#include <string>

#include "platform/workbook/Excel.h"
#include "report/ReportHeader.h"

namespace ql::report {

// The sheets, in order; only "Header" is filled.
inline constexpr const char* WorkbookSheetNames[10] = {"Header", "Tables", "Views",   "Indexes", "Relations",
                                                       "Forms",  "Reports", "Macros", "Modules", "Pages"};

// The save format the installed Excel version asks for: 43 for versions 5 to
// 9, 39 for 10 and 11, 0 for anything else.
int workbookFileFormat(int excelVersion);

// Starts a spreadsheet application in the state's ExcelApplication, builds
// the workbook there, fills its header sheet, saves it to `outputPath` with
// the format code of `excelVersion`, closes it and lets ExcelWorkbook go;
// the application stays until the window closes. Automation failures raise
// ql::RuntimeError.
void WriteWorkbookHeader(const std::string& outputPath, const HeaderFacts& facts, int excelVersion,
                         grids::WindowState& state);

// Lets the spreadsheet objects go (the close command's part for workbooks).
void ReleaseWorkbook(grids::WindowState& state);

}  // namespace ql::report
