#include "report/WorkbookHeader.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <memory>

namespace fs = std::filesystem;
using namespace ql::report;

namespace {

// Reads the saved file back with xlrd, an independent reader: sheet names,
// then "row,col=text" for every non-empty cell of the first sheet.
std::string readBack(const fs::path& file) {
    const std::string script =
        "import sys,xlrd\n"
        "b=xlrd.open_workbook(sys.argv[1])\n"
        "print('|'.join(b.sheet_names()))\n"
        "s=b.sheet_by_index(0)\n"
        "for r in range(s.nrows):\n"
        "  for c in range(s.ncols):\n"
        "    v=s.cell_value(r,c)\n"
        "    if v!='': print('%d,%d=%s'%(r+1,c+1,v))\n";
    const std::string command = "/usr/bin/python3 -c \"$QL_PROBE\" '" + file.string() + "'";
    ::setenv("QL_PROBE", script.c_str(), 1);
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(command.c_str(), "r"), ::pclose);
    std::string out;
    char buffer[4096];
    while (size_t got = std::fread(buffer, 1, sizeof buffer, pipe.get())) out.append(buffer, got);
    return out;
}

}  // namespace

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

    EXPECT_EQ(readBack(file),
              "Header|Tables|Views|Indexes|Relations|Forms|Reports|Macros|Modules|Pages\n"
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
