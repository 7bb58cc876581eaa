// Reports of real corpus databases after a real analysis, through the
// commands the window runs: the output choice, the analysis, the view.
#include <gtest/gtest.h>

#include <filesystem>

#include "analysis/AnalysisRun.h"
#include "platform/dao/VbText.h"
#include "report/OutputDestination.h"
#include "tests/support/Corpus.h"
#include "tests/support/HeadlessWindow.h"

namespace fs = std::filesystem;
using namespace ql;

namespace {

std::vector<std::string> linesOf(const fs::path& file) {
    const std::string text = test::readFile(file);
    std::vector<std::string> lines;
    for (size_t start = 0; start < text.size();) {
        const size_t end = text.find("\r\n", start);
        if (end == std::string::npos) {
            ADD_FAILURE() << "the last line of " << file << " has no CR LF";
            break;
        }
        lines.push_back(text.substr(start, end - start));
        start = end + 2;
    }
    return lines;
}

// Characters as the runtime counts them (UTF-16 units).
size_t units(const std::string& text) {
    size_t n = 0;
    for (unsigned char c : text)
        if ((c & 0xC0) != 0x80) n += c >= 0xF0 ? 2 : 1;
    return n;
}

// The stored column widths by the layout rules: header + 1; the first column
// widens to a longer row text, a later one to a longer cell + 1; then + 1.
std::vector<size_t> widthsOf(const grids::Grid& grid) {
    std::vector<size_t> widths;
    for (int c = 0; c < grid.columnCount(); ++c) {
        size_t w = units(grid.columns()[c].text) + 1;
        for (const grids::GridRow& row : grid.rows()) {
            const size_t len = units(c == 0 ? row.text : row.subItem(c));
            if (len > w) w = c == 0 ? len : len + 1;
        }
        widths.push_back(w + 1);
    }
    return widths;
}

// Blanks up to `length` characters (nothing when the text is already that long).
std::string blanks(size_t have, size_t length) { return std::string(have < length ? length - have : 0, ' '); }

struct Analysed {
    test::HeadlessWindow w;
    fs::path file;

    Analysed(const std::string& database, int format, const std::string& name) {
        w.open(test::corpusFile(database));
        report::optFormat_Click(w.ctx, format);
        file = w.folder / name;
        w.ui.chooseFile(file.string());
        report::cmdOut_Click(w.ctx);
        analysis::cmdAnalyse_Click(w.ctx);
        w.controls.includeStats = grids::kChecked;
    }
};

class EveryFormat : public testing::TestWithParam<std::string> {};

// Only a text report gets a body: the other formats hold exactly what the
// output command wrote, however often they are viewed.
TEST_P(EveryFormat, OnlyTheTextReportGrowsWhenViewed) {
    for (int format : {1, 2, 0}) {
        Analysed a(GetParam(), format, "r" + std::to_string(format));
        const std::vector<std::string> header = linesOf(a.file);
        ASSERT_FALSE(header.empty());
        report::finishReport(a.w.ctx, true);
        report::finishReport(a.w.ctx, true);
        report::closeOutput(a.w.ctx);
        std::vector<std::string> after = linesOf(a.file);
        if (format == 2) {
            EXPECT_EQ(after, header);
        } else if (format == 1) {
            std::vector<std::string> expected;
            for (const std::string& line : header)
                if (!line.empty()) expected.push_back(line);
            expected.push_back("</Quarrylantern>");
            EXPECT_EQ(after, expected);
        } else {
            ASSERT_GT(after.size(), header.size());
            after.resize(header.size());
            EXPECT_EQ(after, header);
        }
    }
}

// The body of a text report checked against the grids and lists the
// analysis filled: every table laid out by the width rules.
TEST_P(EveryFormat, TheStatisticsBodyLaysOutEveryGridTheAnalysisFilled) {
    Analysed a(GetParam(), 0, "r.txt");
    const size_t headerLines = linesOf(a.file).size();
    report::finishReport(a.w.ctx, true);
    const std::vector<std::string> lines = linesOf(a.file);
    size_t at = headerLines + 5;  // the banner
    ASSERT_LE(at, lines.size());
    EXPECT_EQ(lines[headerLines + 1], "'" + std::string(71, '='));

    int tables = 0;
    for (const grids::Grid& grid : a.w.state.lvwGrid) {
        if (grid.columnCount() > 0) {
            ++tables;
            const std::vector<size_t> widths = widthsOf(grid);
            size_t total = 0;
            for (size_t w : widths) total += w;
            ASSERT_LT(at + 1 + grid.rowCount(), lines.size());
            // Header: each text at its column's start, padded to the full width.
            std::string header;
            for (int c = 0; c < grid.columnCount(); ++c) {
                header += grid.columns()[c].text;
                header += blanks(units(grid.columns()[c].text), widths[c]);
            }
            EXPECT_EQ(lines[at++], header);
            EXPECT_EQ(lines[at++], std::string(total, '-'));
            for (const grids::GridRow& row : grid.rows()) {
                std::string expected = row.text;
                size_t end = 0;
                for (int c = 0; c < grid.columnCount(); ++c) {
                    end += widths[c];
                    if (c + 1 == grid.columnCount()) break;
                    expected += blanks(units(expected), end);
                    const std::string& cell = row.subItem(c + 1);
                    if (dao::vb::IsNumeric(cell))
                        expected += blanks(units(cell), widths[c + 1] - 1) + cell;
                    else
                        expected += cell;
                }
                EXPECT_EQ(lines[at++], expected);
            }
        }
        ASSERT_LT(at, lines.size());
        EXPECT_EQ(lines[at++], "");
    }
    EXPECT_GT(tables, 3) << "the analysis filled the grids";

    const std::pair<const char*, int> lists[] = {{"Forms in Database", grids::kTabForms},
                                                 {"Reports in Database", grids::kTabReports},
                                                 {"Data Access Pages in Database", grids::kTabDataPages}};
    std::vector<std::string> expectedTail;
    for (const auto& [heading, list] : lists) {
        if (!expectedTail.empty()) expectedTail.emplace_back();
        expectedTail.emplace_back(heading);
        expectedTail.emplace_back(std::string(std::string(heading).size(), '-'));
        for (const grids::NameEntry& entry : a.w.state.lstData[list].entries()) expectedTail.push_back(entry.text);
    }
    EXPECT_EQ(std::vector<std::string>(lines.begin() + static_cast<long>(at), lines.end()), expectedTail);
}

INSTANTIATE_TEST_SUITE_P(Corpus, EveryFormat,
                         testing::Values("j3_nwind_krystek.mdb", "j4_northwind2000.mdb", "j4_stock_th.mdb"),
                         [](const auto& info) {
                             std::string name = info.param;
                             for (char& c : name)
                                 if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
                             return name;
                         });

}  // namespace
