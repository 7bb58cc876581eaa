#include "report/StatisticsReport.h"

#include "platform/vb/VbText.h"
#include "report/ReportHeader.h"
#include "report/TextFile.h"

namespace ql::report {

namespace {

const char* const BannerRule = "'=======================================================================";

// Widths count characters as the runtime does (UTF-16 units), not bytes.
using vb::Len;
using vb::Right;

// Moves the print position to column `start` (1-based), as Tab(n) does on a
// line that has not yet reached it.
void padTo(std::string& line, int start) {
    const int length = Len(line);
    if (length < start - 1) line.append(static_cast<size_t>(start - 1 - length), ' ');
}

// The stored widths: header length + 1, widened by the cells, then + 1. The
// first column widens to the bare text length, later ones to length + 1.
std::vector<int> columnWidths(const grids::Grid& grid) {
    std::vector<int> widths;
    for (int c = 1; c <= grid.columnCount(); ++c) {
        int width = Len(grid.columns()[static_cast<size_t>(c - 1)].text) + 1;
        for (const grids::GridRow& row : grid.rows()) {
            if (c == 1) {
                width = std::max(width, Len(row.text));
            } else {
                const int length = Len(row.subItem(c - 1));
                if (length > width) width = length + 1;
            }
        }
        widths.push_back(width + 1);
    }
    return widths;
}

void appendGrid(const grids::Grid& grid, std::vector<std::string>& lines) {
    const std::vector<int> widths = columnWidths(grid);
    std::vector<int> starts;
    int start = 1;
    for (int width : widths) {
        starts.push_back(start);
        start += width;
    }
    const int total = start - 1;

    std::string header;
    for (size_t c = 0; c < widths.size(); ++c) {
        padTo(header, starts[c]);
        header += grid.columns()[c].text;
        padTo(header, starts[c] + widths[c]);
    }
    lines.push_back(header);
    lines.emplace_back(static_cast<size_t>(total), '-');

    for (const grids::GridRow& row : grid.rows()) {
        std::string line;
        for (size_t c = 0; c < widths.size(); ++c) {
            padTo(line, starts[c]);
            if (c == 0) {
                line += row.text;
                continue;
            }
            const std::string& cell = row.subItem(static_cast<int>(c));
            if (vb::IsNumeric(cell)) {
                // Right-aligned in (width - 1) places; a wider number loses its left digits.
                line += Right(std::string(static_cast<size_t>(widths[c]), ' ') + cell, widths[c] - 1);
            } else {
                line += cell;
            }
        }
        lines.push_back(line);
    }
}

void appendNames(const std::string& heading, const grids::NameList& list, std::vector<std::string>& lines) {
    lines.push_back(heading);
    lines.emplace_back(heading.size(), '-');
    for (const grids::NameEntry& entry : list.entries()) lines.push_back(entry.text);
}

}  // namespace

std::vector<std::string> statisticsLines(const std::array<grids::Grid, grids::kGridCount>& grids,
                                         const std::array<grids::NameList, grids::kNameListCount>& lists,
                                         const std::string& date, const std::string& time) {
    std::vector<std::string> lines = {"", BannerRule, "'Database Statistics as at " + date + " at " + time,
                                      BannerRule, ""};
    for (const grids::Grid& grid : grids) {
        if (grid.columnCount() > 0) appendGrid(grid, lines);
        lines.emplace_back();
    }
    appendNames("Forms in Database", lists[grids::kTabForms], lines);
    lines.emplace_back();
    appendNames("Reports in Database", lists[grids::kTabReports], lines);
    lines.emplace_back();
    appendNames("Data Access Pages in Database", lists[grids::kTabDataPages], lines);
    return lines;
}

void WriteStatisticsToFile(short format, const grids::WindowState& state, const std::string& date,
                           const std::string& time, bool& statisticsWritten) {
    if (format == grids::kFormatText) {
        writeLines(state.OutputPath, statisticsLines(state.lvwGrid, state.lstData, date, time), OpenMode::Append);
    }
    statisticsWritten = true;
}

void WriteStatisticsToFile(short format, grids::WindowState& state) {
    const double now = vb::Now();
    WriteStatisticsToFile(format, state, reportDate(now), reportTime(now), state.StatisticsWritten);
}

}  // namespace ql::report
