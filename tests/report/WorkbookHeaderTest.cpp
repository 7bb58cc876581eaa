#include "report/WorkbookHeader.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>

#include "tests/platform/workbook/XlsProbe.h"

namespace fs = std::filesystem;
using namespace ql::report;

TEST(WorkbookHeader, SaveFormatFollowsTheExcelVersion) {
    EXPECT_EQ(workbookFileFormat(5), 43);
    EXPECT_EQ(workbookFileFormat(9), 43);
    EXPECT_EQ(workbookFileFormat(10), 39);
    EXPECT_EQ(workbookFileFormat(11), 39);
    EXPECT_EQ(workbookFileFormat(12), 0);
    EXPECT_EQ(workbookFileFormat(4), 0);
}

TEST(WorkbookHeader, TenNamedSheetsWithTheHeaderCellsInPlace) {
    const fs::path file = fs::temp_directory_path() / ("ql_wb_" + std::to_string(::getpid()) + ".xls");
    const HeaderFacts facts{"2.1.3", "05 March 2025", "14:07", 2025, "/data/Склад.mdb", "/data/SYSTEM.MDW"};
    ql::grids::WindowState state;
    WriteWorkbookHeader(file.string(), facts, 9, state);
    EXPECT_FALSE(state.ExcelWorkbook) << "the workbook is closed after saving";
    EXPECT_TRUE(state.ExcelApplication) << "the application is kept until the window closes";

    // Read back by xlrd, an independent reader.
    const auto book = ql::workbook::test::probeXls(file);
    for (const std::string& problem : book.problems) ADD_FAILURE() << problem;
    std::string names, cells;
    for (const auto& sheet : book.sheets) names += sheet.name + "|";
    for (const auto& [at, cell] : book.sheets.at(0).cells)
        cells += std::to_string(at.first + 1) + "," + std::to_string(at.second + 1) + "=" + cell.text + "\n";
    EXPECT_EQ(names, "Header|Tables|Views|Indexes|Relations|Forms|Reports|Macros|Modules|Pages|");
    EXPECT_TRUE(book.sheets[0].selected) << "the header sheet is the active one";
    EXPECT_EQ(cells,
              "1,1=**************************  ACCESS DATABASE ANALYSIS PROGRAM **************\n"
              "2,1=VERSION :\n2,2=2.1.3\n"
              "3,1= Database Analysis as at \n3,2=05 March 2025\n3,3=at\n3,4=14:07\n"
              "4,1=Access Database: \n4,2=/data/Склад.mdb\n"
              "5,1=System Database: \n5,2=/data/SYSTEM.MDW\n"
              "7,1=Copyright (C) 2003-2025\n8,1=Orvex Software\n"
              "13,1=Support :\n13,2=support@orvex.example\n"
              "14,1=Web     :\n14,2=https://www.orvex.example/quarrylantern\n");
    fs::remove(file);
}

TEST(WorkbookHeader, AnUnwritablePathRaisesTheAutomationError) {
    ql::grids::WindowState state;
    try {
        WriteWorkbookHeader("/nonexistent-folder/r.xls", HeaderFacts{}, 9, state);
        FAIL() << "saved into a missing folder";
    } catch (const ql::RuntimeError& error) {
        EXPECT_EQ(error.number(), 1004);
    }
}
