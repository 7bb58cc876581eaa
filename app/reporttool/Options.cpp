#include "app/reporttool/Options.h"

#include <algorithm>
#include <optional>

namespace ql::reporttool {

namespace {

struct FormatName {
    const char* name;
    Format format;
    const char* extension;
};
constexpr FormatName kFormats[] = {
    {"json", Format::Json, ".json"}, {"text", Format::Text, ".txt"}, {"xml", Format::Xml, ".xml"},
    {"csv", Format::Csv, ".csv"},    {"xls", Format::Xls, ".xls"},
};

std::optional<Format> formatByName(const std::string& name) {
    for (const auto& f : kFormats)
        if (name == f.name) return f.format;
    return std::nullopt;
}

}  // namespace

std::string formatExtension(Format format) {
    for (const auto& f : kFormats)
        if (f.format == format) return f.extension;
    return {};
}

std::string formatName(Format format) {
    for (const auto& f : kFormats)
        if (f.format == format) return f.name;
    return {};
}

std::string usageText(const std::string& program) {
    return "Usage: " + program +
           " [--workgroup FILE.mdw] [--format json|text|xml|csv|xls] [--stats]\n"
           "       [--temp-queries] [--module-source DIR] [--timings] [--force]\n"
           "       --output FILE|DIR/|- DATABASE...\n"
           "\n"
           "Analyses each Access database as the Quarrylantern window does and writes a report.\n"
           "\n"
           "  --workgroup FILE      workgroup file to sign in with (default: Admin without password)\n"
           "  --format FORMAT       report format (default json)\n"
           "  --stats               append the statistics body (text format only)\n"
           "  --temp-queries        list the control queries (\"~\" names) too\n"
           "  --module-source DIR   write each module's source to DIR/<database file>/<module>.bas\n"
           "                        (for the databases that open)\n"
           "  --timings             print the time of each stage of each run on stderr\n"
           "  --output FILE         the report file; a text, XML, CSV or xls report gets\n"
           "                        Errors.Log beside it\n"
           "  --output DIR/         a folder (a name ending in / or an existing folder; needed\n"
           "                        for several databases): one report per database named\n"
           "                        after its file, its error log as <report>.Errors.Log\n"
           "  --output -            the report on standard output, the error log on stderr\n"
           "  --force               in a folder, replace existing reports and logs\n"
           "  --help                show this text\n"
           "\n"
           "No file written may be a database or the workgroup file being read.\n"
           "\n"
           "Exit status: 0 every database analysed and its report written (objects that could\n"
           "not be read are listed in the error log); 1 some database could not be opened, its\n"
           "analysis ended on an error, or a file could not or may not be written (one line on\n"
           "stderr each); 2 bad usage.\n";
}

ParseResult parseOptions(const std::vector<std::string>& args) {
    Options options;
    bool haveOutput = false;
    bool optionsEnded = false;
    std::vector<std::string> seen;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (optionsEnded || arg.size() < 2 || arg.compare(0, 2, "--") != 0) {
            if (arg == "-" && !optionsEnded) return UsageError{"a database cannot be read from standard input"};
            options.databases.push_back(arg);
            continue;
        }
        if (arg == "--") {
            optionsEnded = true;
            continue;
        }
        std::string name = arg;
        std::optional<std::string> inlineValue;
        if (const auto eq = arg.find('='); eq != std::string::npos) {
            name = arg.substr(0, eq);
            inlineValue = arg.substr(eq + 1);
        }
        auto value = [&]() -> std::optional<std::string> {
            if (inlineValue) return inlineValue;
            if (i + 1 >= args.size()) return std::nullopt;
            return args[++i];
        };
        auto flag = [&](bool& target) -> std::optional<UsageError> {
            if (inlineValue) return UsageError{name + " takes no value"};
            target = true;
            return std::nullopt;
        };

        if (name == "--help") return HelpRequested{};
        // A second value would silently win over the first: say so instead.
        if (std::find(seen.begin(), seen.end(), name) != seen.end()) return UsageError{name + " given twice"};
        seen.push_back(name);
        if (name == "--force") {
            if (auto error = flag(options.force)) return *error;
            continue;
        }
        if (name == "--stats" || name == "--temp-queries" || name == "--timings") {
            bool& target = name == "--stats" ? options.stats : name == "--timings" ? options.timings : options.tempQueries;
            if (auto error = flag(target)) return *error;
            continue;
        }
        if (name == "--workgroup" || name == "--output" || name == "--format" || name == "--module-source") {
            const auto v = value();
            if (!v || v->empty()) return UsageError{name + " needs a value"};
            if (name == "--workgroup") {
                options.workgroup = *v;
            } else if (name == "--module-source") {
                options.moduleSourceDir = *v;
            } else if (name == "--output") {
                options.output = *v;
                haveOutput = true;
            } else {
                const auto format = formatByName(*v);
                if (!format) return UsageError{"unknown format '" + *v + "' (json, text, xml, csv or xls)"};
                options.format = *format;
            }
            continue;
        }
        return UsageError{"unknown option '" + arg + "'"};
    }
    if (!haveOutput) return UsageError{"--output is required"};
    if (options.databases.empty()) return UsageError{"no database given"};
    if (options.databases.size() > 1 && options.output == "-")
        return UsageError{"with several databases --output names a folder, not -"};
    // The statistics are the body of a text report; no other format has one.
    if (options.stats && options.format != Format::Text) return UsageError{"--stats needs --format text"};
    return options;
}

}  // namespace ql::reporttool
