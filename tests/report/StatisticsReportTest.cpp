#include "report/StatisticsReport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/support/Corpus.h"

namespace fs = std::filesystem;
using namespace ql;
using grids::Alignment;

namespace {

std::vector<std::string> bodyOf(const grids::WindowState& state) {
    return report::statisticsLines(state.lvwGrid, state.lstData, "05 March 2025", "14:07");
}

// Lines 0-4 are the banner; grid k's output starts after it.
const std::vector<std::string> kBanner = {
    "",
    "'=======================================================================",
    "'Database Statistics as at 05 March 2025 at 14:07",
    "'=======================================================================",
    ""};

}  // namespace

TEST(StatisticsReport, EmptyWindowGivesBannerTwelveEmptyLinesAndThreeBareLists) {
    grids::WindowState state;
    std::vector<std::string> expected = kBanner;
    for (int i = 0; i < grids::kGridCount; ++i) expected.emplace_back();
    for (const std::string& line : {"Forms in Database", "-----------------", "", "Reports in Database",
                                    "-------------------", "", "Data Access Pages in Database",
                                    "-----------------------------"})
        expected.emplace_back(line);
    EXPECT_EQ(bodyOf(state), expected);
}

TEST(StatisticsReport, ColumnsAreAlignedByTheWidthRulesAndNumbersRightAligned) {
    grids::WindowState state;
    grids::Grid& tables = state.lvwGrid[1];
    tables.addColumn("Table", 3000);
    tables.addColumn("Records", 600, Alignment::Right);
    tables.row(tables.addRow("Tables in Database : ")).setSubItem(1, "2");
    tables.row(tables.addRow("Customers")).setSubItem(1, "91");
    tables.row(tables.addRow("Notes")).setSubItem(1, "n/a");

    // Column 1: "Tables in Database : " (21) + 1 = 22 wide; column 2: "Records"
    // (7) + 1 + 1 = 9 wide; numbers take the rightmost 8 places.
    const std::vector<std::string> body = bodyOf(state);
    const std::vector<std::string> grid1(body.begin() + 6, body.begin() + 12);
    EXPECT_EQ(grid1, (std::vector<std::string>{
                         "Table                 Records  ",
                         std::string(31, '-'),
                         "Tables in Database :         2",
                         "Customers                   91",
                         "Notes                 n/a",
                         ""}));
}

TEST(StatisticsReport, LaterColumnsWidenToCellLengthPlusOneButTheFirstToTheLengthItself) {
    grids::WindowState state;
    grids::Grid& grid = state.lvwGrid[0];
    grid.addColumn("A");
    grid.addColumn("B");
    grid.addColumn("C");
    grid.row(grid.addRow("abcdef")).setSubItem(1, "ghijkl");
    grid.row(1).setSubItem(2, "x");
    // A: max(2, 6) + 1 = 7; B: 6 + 1 + 1 = 8; C: 2 + 1 = 3.
    const std::vector<std::string> body = bodyOf(state);
    EXPECT_EQ(body[5], "A      B       C  ");
    EXPECT_EQ(body[6], std::string(18, '-'));
    EXPECT_EQ(body[7], "abcdef ghijkl  x");
}

TEST(StatisticsReport, WidthsCountCharactersNotBytes) {
    grids::WindowState state;
    grids::Grid& grid = state.lvwGrid[2];
    grid.addColumn("Поле");
    grid.addColumn("N");
    grid.row(grid.addRow("Ім'я")).setSubItem(1, "7");
    const std::vector<std::string> body = bodyOf(state);
    EXPECT_EQ(body[7], "Поле  N  ");
    EXPECT_EQ(body[9], "Ім'я   7");
}

TEST(StatisticsReport, GridWithColumnsButNoRowsGivesHeaderRuleAndEmptyLine) {
    grids::WindowState state;
    state.lvwGrid[4].addColumn("Index");
    const std::vector<std::string> body = bodyOf(state);
    // grids 0-3 give one empty line each before grid 4.
    EXPECT_EQ(body[9], "Index  ");
    EXPECT_EQ(body[10], "-------");
    EXPECT_EQ(body[11], "");
    EXPECT_EQ(body[12], "") << "grid 5";
}

TEST(StatisticsReport, NameListsFollowInFormsReportsPagesOrder) {
    grids::WindowState state;
    state.lstData[grids::kTabForms].AddItem("frmMain");
    state.lstData[grids::kTabReports].AddItem("rptA");
    state.lstData[grids::kTabReports].AddItem("rptB");
    state.lstData[grids::kTabDataPages].AddItem("Page1");
    state.lstData[grids::kTabMacros].AddItem("not listed");
    const std::vector<std::string> body = bodyOf(state);
    const std::vector<std::string> tail(body.end() - 12, body.end());
    EXPECT_EQ(tail, (std::vector<std::string>{"Forms in Database", "-----------------", "frmMain", "",
                                              "Reports in Database", "-------------------", "rptA", "rptB", "",
                                              "Data Access Pages in Database", "-----------------------------",
                                              "Page1"}));
}

TEST(StatisticsReport, OnlyTextReportsReceiveTheBodyButEveryFormatSetsTheFlag) {
    const fs::path dir = fs::temp_directory_path() / ("ql_stats_" + std::to_string(::getpid()));
    fs::create_directories(dir);
    grids::WindowState state;
    state.lvwGrid[1].addColumn("Table");
    for (short format : {1, 2, 3, 0}) {
        state.OutputPath = (dir / ("r" + std::to_string(format))).string();
        std::ofstream(state.OutputPath, std::ios::binary) << "HEADER\r\n";
        bool written = false;
        report::WriteStatisticsToFile(format, state, "05 March 2025", "14:07", written);
        EXPECT_TRUE(written);
        const std::string text = test::readFile(state.OutputPath);
        if (format == 0) {
            EXPECT_TRUE(text.starts_with("HEADER\r\n\r\n'====")) << text;
            EXPECT_NE(text.find("\r\nTable  \r\n-------\r\n"), std::string::npos);
            EXPECT_TRUE(text.ends_with("-----------------------------\r\n"));
        } else {
            EXPECT_EQ(text, "HEADER\r\n") << "format " << format;
        }
    }
    fs::remove_all(dir);
}
