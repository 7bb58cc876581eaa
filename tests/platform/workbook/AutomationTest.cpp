// The automation object model as the report writer drives it, without files.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/support/RuntimeErrors.h"
#include "platform/workbook/Excel.h"

using namespace ql::workbook;
namespace errors = ql::workbook::automation_errors;

namespace {

using ql::test::errorNumberOf;

std::vector<std::string> namesOf(const Workbook& book) {
    std::vector<std::string> names;
    for (int i = 1; i <= book.Worksheets().Count(); ++i) names.push_back(book.Worksheets().Item(i).Name());
    return names;
}

// The report adds its ten sheets after the last one and names them; the
// saved order and names are read back by xlrd where the header is tested.
TEST(ExcelApplication, SheetsAreNumberedPastTakenNamesAndStayInTheirWorkbook) {
    Application excel;
    Workbook book = excel.Workbooks().Add();
    EXPECT_EQ(namesOf(book), (std::vector<std::string>{"Sheet1", "Sheet2", "Sheet3"}));
    SheetList sheets = book.Worksheets();
    sheets.Add(sheets.Item(1));  // after the first, and active
    EXPECT_EQ(sheets.Item(2).Name(), "Sheet4");
    EXPECT_EQ(book.ActiveSheet().Name(), "Sheet4");
    sheets.Item(1).SetName("Sheet5");  // a taken name is skipped
    EXPECT_EQ(sheets.Add(sheets.Item(1)).Name(), "Sheet6");
    Workbook other = excel.Workbooks().Add();
    EXPECT_EQ(errorNumberOf([&] { sheets.Add(other.Worksheets().Item(1)); }), errors::MethodFailed);
}

// Names are checked as Excel checks them, counting UTF-16 units and
// comparing without case beyond ASCII too.
TEST(ExcelApplication, SheetNamesFollowExcelRules) {
    Application excel;
    Workbook book = excel.Workbooks().Add();
    Worksheet sheet = book.Worksheets().Item(1);
    const std::vector<std::string> refused = {"", std::string(32, 'a'), "a:b", "a[b", "'quoted", "SHEET3",
                                              "记录表记录表记录表记录表记录表记录表记录表记录表记录表记录表记录"};  // 32 CJK
    for (const std::string& name : refused) {
        EXPECT_EQ(errorNumberOf([&] { sheet.SetName(name); }), errors::MethodFailed) << name;
        EXPECT_EQ(sheet.Name(), "Sheet1") << name;
    }
    for (const std::string& name : {std::string(31, 'a'), std::string("O'Brien"), std::string("sheet1")}) {
        EXPECT_EQ(errorNumberOf([&] { sheet.SetName(name); }), 0) << name;
        EXPECT_EQ(sheet.Name(), name);
    }
    book.Worksheets().Item(2).SetName("Рейсы");
    EXPECT_EQ(errorNumberOf([&] { sheet.SetName("РЕЙСЫ"); }), errors::MethodFailed);
    EXPECT_EQ(book.Worksheets().Item("рейсы").Index(), 2);
}

TEST(ExcelApplication, MissingSheetsAndWorkbooksAreOutOfRange) {
    Application excel;
    Workbook book = excel.Workbooks().Add();
    EXPECT_EQ(errorNumberOf([&] { book.Worksheets().Item(0); }), errors::SubscriptOutOfRange);
    EXPECT_EQ(errorNumberOf([&] { book.Worksheets().Item(4); }), errors::SubscriptOutOfRange);
    EXPECT_EQ(errorNumberOf([&] { book.Worksheets().Item("Header"); }), errors::SubscriptOutOfRange);
}

TEST(ExcelApplication, CellsHoldTextOrNumbersWithinTheSheet) {
    Application excel;
    Worksheet sheet = excel.Workbooks().Add().Worksheets().Item(1);
    sheet.Cells(2, 3) = "Таблицы";
    sheet.Cells(65536, 256) = 42.0;
    sheet.Cells(1, 1) = 7;  // whole numbers arrive as numbers
    EXPECT_EQ(std::get<std::string>(sheet.Cells(2, 3).Value()), "Таблицы");
    EXPECT_EQ(std::get<double>(sheet.Cells(65536, 256).Value()), 42.0);
    EXPECT_EQ(std::get<double>(sheet.Cells(1, 1).Value()), 7.0);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(sheet.Cells(3, 3).Value()));

    sheet.Cells(2, 3) = "12";  // a numeric text stays text
    EXPECT_EQ(std::get<std::string>(sheet.Cells(2, 3).Value()), "12");
    sheet.Cells(2, 3) = "";  // an empty text empties the cell
    EXPECT_TRUE(std::holds_alternative<std::monostate>(sheet.Cells(2, 3).Value()));

    sheet.Cells(4, 1) = std::string("bad \xff\xfe bytes");
    EXPECT_EQ(std::get<std::string>(sheet.Cells(4, 1).Value()), "bad \uFFFD\uFFFD bytes");

    for (auto [row, col] : {std::pair{0, 1}, {1, 0}, {65537, 1}, {1, 257}, {-1, -1}})
        EXPECT_EQ(errorNumberOf([&] { sheet.Cells(row, col); }), errors::MethodFailed) << row << "," << col;
    EXPECT_EQ(errorNumberOf([&] { sheet.Cells(1, 1) = std::numeric_limits<double>::infinity(); }),
              errors::MethodFailed);
    EXPECT_EQ(errorNumberOf([&] { sheet.Cells(1, 1) = std::nan(""); }), errors::MethodFailed);
}

TEST(ExcelApplication, CellTextLimitCountsUtf16Units) {
    Application excel;
    Worksheet sheet = excel.Workbooks().Add().Worksheets().Item(1);
    EXPECT_EQ(errorNumberOf([&] { sheet.Cells(1, 1) = std::string(32767, 'x'); }), 0);
    EXPECT_EQ(errorNumberOf([&] { sheet.Cells(1, 2) = std::string(32768, 'x'); }), errors::MethodFailed);
    std::string astral;  // each takes two UTF-16 units
    for (int i = 0; i < 16384; ++i) astral += "𝄞";
    EXPECT_EQ(errorNumberOf([&] { sheet.Cells(1, 3) = astral; }), errors::MethodFailed);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(sheet.Cells(1, 3).Value()));
}

TEST(ExcelApplication, AClosedWorkbookIsDisconnected) {
    Application excel;
    Workbook first = excel.Workbooks().Add();
    Workbook second = excel.Workbooks().Add();
    Worksheet sheet = first.Worksheets().Item(1);
    first.Close();
    EXPECT_EQ(excel.Workbooks().Count(), 1);
    EXPECT_EQ(second.Name(), "Book2");
    EXPECT_EQ(errorNumberOf([&] { first.Name(); }), errors::ObjectDisconnected);
    EXPECT_EQ(errorNumberOf([&] { sheet.Cells(1, 1) = "x"; }), errors::ObjectDisconnected);
    EXPECT_EQ(errorNumberOf([&] { first.SaveAs("/tmp/never.xls"); }), errors::ObjectDisconnected);
}

}  // namespace
