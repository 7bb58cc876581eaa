#pragma once
// The driver of quarrylantern-report: for each database a fresh window
// state, the open, the analysis run the window runs, and the report.
#include <ostream>
#include <string>

#include "app/reporttool/Options.h"
#include "env/ProgramValues.h"

namespace ql::reporttool {

struct ToolEnvironment {
    std::string programName = "quarrylantern-report";
    env::ProgramValues program;
    // Where the reports go when --output is "-".
    std::ostream* out = nullptr;
    // Error lines, progress lines and timing tables.
    std::ostream* err = nullptr;
    // One line per database before it is analysed (stderr is a terminal).
    bool progressLines = false;
};

// Runs every database of `options`; returns the exit status: 0 every
// database analysed and its report written, 1 some database could not be
// opened, its run ended early, a file could not be written, or the run was
// refused before it wrote anything (a target that is an input, an input
// that is no regular file, a missing or read-only folder, files a folder
// run would replace without --force), 2 several databases without a folder.
int runTool(const Options& options, const ToolEnvironment& environment);

// The report file of `database` inside `folder`: the database's file name
// with the format's extension added ("nwind.mdb" -> "nwind.mdb.json"), so
// that "x.mdb" and "x.mde" side by side keep apart.
std::string reportFileName(const std::string& database, Format format);

}  // namespace ql::reporttool
