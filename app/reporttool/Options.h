#pragma once
// The command line of quarrylantern-report.
#include <string>
#include <variant>
#include <vector>

namespace ql::reporttool {

enum class Format { Json, Text, Xml, Csv, Xls };

struct Options {
    std::string workgroup;  // empty: the default workgroup (Admin, no password)
    Format format = Format::Json;
    bool stats = false;
    bool tempQueries = false;
    bool timings = false;
    std::string moduleSourceDir;  // empty: no module source files
    std::string output;  // a file, "-" for standard output, or a folder
    std::vector<std::string> databases;
};

struct HelpRequested {};
struct UsageError {
    std::string message;
};

using ParseResult = std::variant<Options, HelpRequested, UsageError>;

// `args` without the program name. Accepts "--name value" and
// "--name=value"; "--" ends the options.
ParseResult parseOptions(const std::vector<std::string>& args);

std::string usageText(const std::string& program);

// The file name extension of a format, with its dot.
std::string formatExtension(Format format);
std::string formatName(Format format);

}  // namespace ql::reporttool
