#pragma once
// How a file path is written into a report. A Linux path is any bytes but
// NUL; a report format may not hold all of them (an XML comment no "--" and
// no bytes that are not UTF-8, JSON and the workbook's text no bytes that
// are not UTF-8). A path the format can hold is written as it stands, so
// ordinary reports do not change; any other is written as a file:// URI of
// its absolute path in which the bytes the format cannot hold, and "%",
// are percent-encoded: still valid in the format, and it decodes back to
// exactly the bytes that name the file.
#include <string>

namespace ql::report {

// For the header comment of an XML report.
std::string xmlCommentPathText(const std::string& path);

// For text that must be Unicode: JSON strings and workbook cells.
std::string unicodePathText(const std::string& path);

}  // namespace ql::report
