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
    bool force = false;  // folder mode: replace existing reports and logs
    std::string moduleSourceDir;  // empty: no module source files
    // A file, "-" for standard output, or a folder (a name ending in "/" or
    // an existing folder).
    std::string output;
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
