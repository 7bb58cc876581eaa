#pragma once
// Line-oriented text files as the report writers use them: every line ends in
// CR LF, and failures are run-time errors the handlers can trap.
#include <string>
#include <vector>

namespace ql::report {

enum class OpenMode { Output, Append };

// Writes `lines`, each followed by CR LF, creating or replacing the file
// (Output) or adding to its end (Append).
void writeLines(const std::string& path, const std::vector<std::string>& lines, OpenMode mode);

// The file's lines without their line ends (CR LF, LF or a lone CR).
std::vector<std::string> readLines(const std::string& path);

}  // namespace ql::report
