// Saved workbooks as an independent reader (python3-xlrd) sees them.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

#include "platform/workbook/Excel.h"
#include "tests/platform/workbook/XlsProbe.h"
#include "tests/support/Corpus.h"
#include "tests/support/TempFolder.h"

namespace fs = std::filesystem;
using namespace ql::workbook;
using ql::workbook::test::ProbedWorkbook;
using ql::workbook::test::probeXls;

namespace {

class SavedWorkbook : public ::testing::Test {
protected:
    std::string path(const std::string& name) const { return (dir_ / name).string(); }

    // Saves, reads back with xlrd and insists the record structure is sound.
    ProbedWorkbook saveAndProbe(Workbook& book, const std::string& name, int fileFormat = xlExcel9795) {
        book.SaveAs(path(name), fileFormat);
        ProbedWorkbook probed = probeXls(path(name));
        for (const std::string& problem : probed.problems) ADD_FAILURE() << name << ": " << problem;
        return probed;
    }

    static void expectText(const ql::workbook::test::ProbedSheet& sheet, int row, int col,
                           const std::string& text) {
        const auto it = sheet.cells.find({row - 1, col - 1});
        ASSERT_NE(it, sheet.cells.end()) << sheet.name << " (" << row << "," << col << ") is empty";
        EXPECT_EQ(it->second.type, "text") << sheet.name << " (" << row << "," << col << ")";
        EXPECT_EQ(it->second.text, text) << sheet.name << " (" << row << "," << col << ")";
    }

    ql::test::TempFolder dir_;
    Application excel_;
};

// A small workbook of ten sheets with a few cells on the first.
Workbook buildTenSheets(Application& excel) {
    Workbook book = excel.Workbooks().Add();
    SheetList sheets = book.Worksheets();
    while (sheets.Count() < 10) sheets.Add(sheets.Item(sheets.Count()));
    sheets.Item(1).Cells(1, 1) = "Имя";
    sheets.Item(1).Cells(2, 2) = 2.5;
    sheets.Item(1).Activate();
    return book;
}

TEST_F(SavedWorkbook, EveryFileFormatCodeWritesTheSameExcel97Workbook) {
    Workbook book = buildTenSheets(excel_);
    book.SaveAs(path("43.xls"), 43);
    const std::string reference = ql::test::readFile(path("43.xls"));
    ASSERT_FALSE(reference.empty());
    for (int code : {39, 0, 56, -4143}) {
        book.SaveAs(path("other.xls"), code);
        EXPECT_EQ(ql::test::readFile(path("other.xls")), reference) << "file format " << code;
    }
    EXPECT_EQ(book.Name(), "other.xls");
}

TEST_F(SavedWorkbook, TextsInManyScriptsAndNumbersKeepTheirExactValue) {
    const std::vector<double> numbers = {0, 1, -1, 3.5, 0.1, 1.0 / 3, 65535, 2147483647, 9007199254740993.0, 1e300,
                                         -1e-300, 123456789.125};
    const std::vector<std::pair<std::string, std::string>> named = {
        {"Пассажиры", "РейсыПассажиры: Код рейса, Пункт назначения"},
        {"person 查询", "人员名单 — 查询结果"},
        {"ตาราง", "ภาษาไทย ฐานข้อมูล"},
        {"الجداول", "قاعدة البيانات العربية"},
        {"Ventes par catégorie", "Liste alphabétique des produits ÿ ©"},
        {"記録表記録表記録表記録表記録表記録表記録表記録表記録表記録表記", "31 characters of CJK in the name"},
    };
    Workbook book = excel_.Workbooks().Add();
    SheetList sheets = book.Worksheets();
    while (sheets.Count() < static_cast<int>(named.size())) sheets.Add(sheets.Item(sheets.Count()));
    for (size_t i = 0; i < named.size(); ++i) {
        Worksheet sheet = sheets.Item(static_cast<int>(i) + 1);
        sheet.SetName(named[i].first);
        sheet.Cells(1, 1) = named[i].second;
        sheet.Cells(2, 1) = "mixed: abc é Ж 漢 ก ع 𝄞 end";  // one character outside the 16-bit range
    }
    for (size_t i = 0; i < numbers.size(); ++i) sheets.Item(1).Cells(static_cast<int>(i) + 1, 3) = numbers[i];
    const ProbedWorkbook probed = saveAndProbe(book, "scripts.xls");
    ASSERT_EQ(probed.sheets.size(), named.size());
    for (size_t i = 0; i < named.size(); ++i) {
        EXPECT_EQ(probed.sheets[i].name, named[i].first);
        expectText(probed.sheets[i], 1, 1, named[i].second);
        expectText(probed.sheets[i], 2, 1, "mixed: abc é Ж 漢 ก ع 𝄞 end");
    }
    for (size_t i = 0; i < numbers.size(); ++i) {
        const auto& cell = probed.sheets[0].cells.at({static_cast<int>(i), 2});
        EXPECT_EQ(cell.type, "number");
        EXPECT_EQ(cell.number, numbers[i]) << "row " << i + 1;
    }
}

// A string whose length and flag would fit at the very end of a record but
// not its first character must start in the next record; one whose
// characters do not fit continues with a fresh flag byte. Sliding the first
// string's length moves the second string's start across the record end.
TEST_F(SavedWorkbook, StringsStartingAtTheEndOfARecordAreReadIntact) {
    const size_t room = 8224 - 8;  // the first record's body after the two counts
    for (size_t first = room - 3 - 7; first <= room - 3; ++first) {
        Workbook book = excel_.Workbooks().Add();
        Worksheet sheet = book.Worksheets().Item(1);
        const std::string lead(first, 'L');
        sheet.Cells(1, 1) = lead;
        sheet.Cells(2, 1) = "Ширина";
        sheet.Cells(3, 1) = "plain";
        sheet.Cells(4, 1) = "中文";
        const std::string name = "edge" + std::to_string(first) + ".xls";
        const ProbedWorkbook probed = saveAndProbe(book, name);
        expectText(probed.sheets[0], 1, 1, lead);
        expectText(probed.sheets[0], 2, 1, "Ширина");
        expectText(probed.sheets[0], 3, 1, "plain");
        expectText(probed.sheets[0], 4, 1, "中文");
        book.Close();
    }
}

// Thousands of strings, a few of them as long as a cell allows, split over
// many CONTINUE records: each comes back whole and the index finds them.
TEST_F(SavedWorkbook, LargeSharedStringTableWithLongTextsIsSplitAndIndexed) {
    std::string cjk;
    for (int i = 0; i < 32767; ++i) cjk += (i % 2 ? "漢" : "字");
    std::string latin(32767, 'x');
    for (size_t i = 0; i < latin.size(); i += 97) latin[i] = 'a' + (i / 97) % 26;
    std::string cyrillic;
    for (int i = 0; i < 9000; ++i) cyrillic += i % 2 ? "Ж" : "ж";
    const std::string longTexts[] = {latin, cjk, cyrillic};

    Workbook book = excel_.Workbooks().Add();
    Worksheet sheet = book.Worksheets().Item(1);
    const int unique = 6000;
    auto textOf = [](int i) {
        std::string s = (i % 3 == 0 ? "Таблица " : i % 3 == 1 ? "Table " : "表 ") + std::to_string(i);
        return s + std::string(static_cast<size_t>(i % 40), '.');
    };
    for (int i = 0; i < unique; ++i) sheet.Cells(i + 1, 1) = textOf(i);
    for (int i = 0; i < unique; i += 2) sheet.Cells(i + 1, 2) = textOf(i);  // repeats share entries
    for (int i = 0; i < 3; ++i) sheet.Cells(i + 1, 3) = longTexts[i];
    const ProbedWorkbook probed = saveAndProbe(book, "sst.xls");

    EXPECT_GT(probed.continueRecords, 10);
    // The strings in at most 128 buckets of at least 8 strings each.
    const int strings = unique + 3;
    const int perBucket = std::max(8, (strings + 127) / 128);
    EXPECT_EQ(probed.extSstBuckets, (strings + perBucket - 1) / perBucket);
    const auto& cells = probed.sheets[0].cells;
    EXPECT_EQ(cells.size(), size_t(unique + unique / 2 + 3));
    for (int i = 0; i < unique; ++i) {
        expectText(probed.sheets[0], i + 1, 1, textOf(i));
        if (i % 2 == 0) expectText(probed.sheets[0], i + 1, 2, textOf(i));
    }
    for (int i = 0; i < 3; ++i) expectText(probed.sheets[0], i + 1, 3, longTexts[i]);
}

TEST_F(SavedWorkbook, ManyCellsAcrossRowBlocksAndTheSheetCorners) {
    Workbook book = excel_.Workbooks().Add();
    Worksheet sheet = book.Worksheets().Item(2);
    for (int row = 1; row <= 300; ++row)
        for (int col = 1; col <= 40; ++col) {
            if ((row + col) % 2) sheet.Cells(row, col) = row * 1000.0 + col;
            else sheet.Cells(row, col) = "r" + std::to_string(row) + "c" + std::to_string(col);
        }
    // Lone rows in otherwise empty blocks, and the last row and column.
    for (int row : {1000, 1024, 1025, 40000, 65536}) sheet.Cells(row, 256) = "edge " + std::to_string(row);
    sheet.Cells(65536, 1) = -1.5;
    const ProbedWorkbook probed = saveAndProbe(book, "many.xls");

    ASSERT_EQ(probed.sheets.size(), 3u);
    EXPECT_TRUE(probed.sheets[0].cells.empty());
    const auto& cells = probed.sheets[1].cells;
    EXPECT_EQ(cells.size(), 300u * 40u + 6u);
    for (int row = 1; row <= 300; ++row)
        for (int col = 1; col <= 40; ++col) {
            const auto it = cells.find({row - 1, col - 1});
            ASSERT_NE(it, cells.end());
            if ((row + col) % 2) {
                ASSERT_EQ(it->second.type, "number");
                ASSERT_EQ(it->second.number, row * 1000.0 + col);
            } else {
                ASSERT_EQ(it->second.text, "r" + std::to_string(row) + "c" + std::to_string(col));
            }
        }
    for (int row : {1000, 1024, 1025, 40000, 65536})
        expectText(probed.sheets[1], row, 256, "edge " + std::to_string(row));
    EXPECT_EQ(cells.at({65535, 0}).number, -1.5);
}

TEST_F(SavedWorkbook, UnwritablePathsFailWritingNothingAndAnOldFileIsReplaced) {
    Workbook book = buildTenSheets(excel_);
    const std::vector<std::string> bad = {path("no such folder/report.xls"), dir_.path().string(), ""};
    for (const std::string& target : bad) {
        try {
            book.SaveAs(target, xlExcel9795);
            ADD_FAILURE() << "saving to '" << target << "' did not fail";
        } catch (const ql::RuntimeError& e) {
            EXPECT_EQ(e.number(), automation_errors::MethodFailed);
            if (!target.empty()) {
                EXPECT_NE(e.description().find(target), std::string::npos) << e.description();
            }
        }
    }
    EXPECT_TRUE(fs::is_directory(dir_.path()));
    EXPECT_TRUE(fs::is_empty(dir_.path()));
    // The workbook is still open and can be saved afterwards, over an old file.
    dir_.write("fine.xls", std::string(100000, 'z'));
    const ProbedWorkbook probed = saveAndProbe(book, "fine.xls");
    ASSERT_EQ(probed.sheets.size(), 10u);
    for (int i = 0; i < 10; ++i) EXPECT_EQ(probed.sheets[i].selected, i == 0) << i;
    expectText(probed.sheets[0], 1, 1, "Имя");
    EXPECT_LT(fs::file_size(path("fine.xls")), 100000u);
}

}  // namespace
