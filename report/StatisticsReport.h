#pragma once
// The statistics body of a text report: every result grid as an aligned text
// table, then the names of the forms, reports and data access pages.
#include <array>
#include <string>
#include <vector>

#include "grids/WindowState.h"

namespace ql::report {

// The lines of the body: the banner (stamped with `date` and `time`), one
// table per grid that has columns, an empty line per grid, and the three
// name lists.
std::vector<std::string> statisticsLines(const std::array<grids::Grid, grids::kGridCount>& grids,
                                         const std::array<grids::NameList, grids::kNameListCount>& lists,
                                         const std::string& date, const std::string& time);

// Appends the body to the output file when the format is text; any other
// format writes nothing. Either way `statisticsWritten` is set, so viewing
// again never appends a second copy.
void WriteStatisticsToFile(short format, const grids::WindowState& state, const std::string& date,
                           const std::string& time, bool& statisticsWritten);

// The same, stamped with the current date and time, setting the state's
// StatisticsWritten.
void WriteStatisticsToFile(short format, grids::WindowState& state);

}  // namespace ql::report
