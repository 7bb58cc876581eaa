#pragma once
// The Excel form of the report: a workbook of ten named sheets whose first
// sheet carries the header.
#include <optional>
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

// The spreadsheet objects a workbook report holds until the window lets them
// go at close.
struct WorkbookSession {
    std::optional<workbook::Application> application;
    std::optional<workbook::Workbook> workbook;
    void release() {
        workbook.reset();
        application.reset();
    }
};

// Builds the workbook, fills its header sheet and saves it to `outputPath`.
// Automation failures raise ql::RuntimeError.
void WriteWorkbookHeader(const std::string& outputPath, const HeaderFacts& facts, int excelVersion,
                         WorkbookSession& session);

}  // namespace ql::report
