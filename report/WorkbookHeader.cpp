#include "report/WorkbookHeader.h"

#include "report/PathText.h"

namespace ql::report {

int workbookFileFormat(int excelVersion) {
    if (excelVersion >= 5 && excelVersion <= 9) return workbook::xlExcel9795;
    if (excelVersion == 10 || excelVersion == 11) return workbook::xlExcel7;
    return 0;
}

void WriteWorkbookHeader(const std::string& outputPath, const HeaderFacts& facts, int excelVersion,
                         grids::WindowState& state) {
    state.ExcelApplication = std::make_shared<workbook::Application>();
    state.ExcelWorkbook = std::make_shared<workbook::Workbook>(state.ExcelApplication->Workbooks().Add());
    workbook::Workbook& book = *state.ExcelWorkbook;
    workbook::SheetList sheets = book.Worksheets();
    while (sheets.Count() < 10) sheets.Add(sheets.Item(sheets.Count()));
    for (int i = 0; i < 10; ++i) sheets.Item(i + 1).SetName(WorkbookSheetNames[i]);

    workbook::Worksheet header = sheets.Item("Header");
    header.Activate();
    header.Cells(1, 1) = TitleLine;
    header.Cells(2, 1) = "VERSION :";
    header.Cells(2, 2) = facts.version;
    header.Cells(3, 1) = " Database Analysis as at ";
    header.Cells(3, 2) = facts.date;
    header.Cells(3, 3) = "at";
    header.Cells(3, 4) = facts.time;
    header.Cells(4, 1) = "Access Database: ";
    header.Cells(4, 2) = unicodePathText(facts.databasePath);
    header.Cells(5, 1) = "System Database: ";
    header.Cells(5, 2) = unicodePathText(facts.systemDbPath);
    header.Cells(7, 1) = attributionYears(facts.year);
    header.Cells(8, 1) = MakerName;
    header.Cells(13, 1) = SupportContact.label;
    header.Cells(13, 2) = SupportContact.address;
    header.Cells(14, 1) = WebContact.label;
    header.Cells(14, 2) = WebContact.address;

    book.SaveAs(outputPath, workbookFileFormat(excelVersion));
    book.Close();
    state.ExcelWorkbook.reset();
}

void ReleaseWorkbook(grids::WindowState& state) {
    state.ExcelWorkbook.reset();
    state.ExcelApplication.reset();
}

}  // namespace ql::report
