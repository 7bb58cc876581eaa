#include "report/StatisticsReport.h"

#include <gtest/gtest.h>

#include "tests/support/Corpus.h"
#include "tests/support/TempFolder.h"

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
    for (const char* line : {"Forms in Database", "-----------------", "", "Reports in Database",
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

// The first column widens to its longest text, a later one to its longest
// cell + 1; widths count characters, not bytes; a grid without rows still
// gets its header and rule.
TEST(StatisticsReport, WidthRulesAtTheirEdges) {
    grids::WindowState state;
    grids::Grid& latin = state.lvwGrid[0];
    latin.addColumn("A");
    latin.addColumn("B");
    latin.addColumn("C");
    latin.row(latin.addRow("abcdef")).setSubItem(1, "ghijkl");
    latin.row(1).setSubItem(2, "x");
    grids::Grid& cyrillic = state.lvwGrid[1];
    cyrillic.addColumn("Поле");
    cyrillic.addColumn("N");
    cyrillic.row(cyrillic.addRow("Ім'я")).setSubItem(1, "7");
    state.lvwGrid[2].addColumn("Index");

    const std::vector<std::string> body = bodyOf(state);
    // A: max(2, 6) + 1 = 7; B: 6 + 1 + 1 = 8; C: 2 + 1 = 3.
    const std::vector<std::string> expected = {"A      B       C  ", std::string(18, '-'), "abcdef ghijkl  x", "",
                                               "Поле  N  ", std::string(9, '-'), "Ім'я   7", "",
                                               "Index  ", "-------", "", ""};
    EXPECT_EQ(std::vector<std::string>(body.begin() + 5, body.begin() + 17), expected);
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
    test::TempFolder dir;
    grids::WindowState state;
    state.lvwGrid[1].addColumn("Table");
    for (short format : {1, 2, 3, 0}) {
        state.OutputPath = dir.write("r" + std::to_string(format), "HEADER\r\n").string();
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
}
