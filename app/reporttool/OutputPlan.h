#pragma once
// What a run of quarrylantern-report will write, worked out before anything
// is opened or written, and the checks that refuse the whole run when any
// of it would fail or would reach a file being read.
#include <optional>
#include <string>
#include <vector>

#include "app/reporttool/Options.h"

namespace ql::reporttool {

// Where one database's files go.
struct Target {
    std::string database;
    std::string report;    // "-" for standard output
    std::string errorLog;  // the window's "Errors.Log" beside the report; empty for JSON and "-"
    std::string keptLog;   // folder mode: the name the error log is kept under
};

// A refusal before anything is read or written.
struct Refusal {
    std::string message;
    int status = 1;
};

// The files of every database of `options`, into a folder or one file.
std::vector<Target> plan(const Options& options, bool toFolder);

// Every check that needs no file opened: nothing is written unless all pass.
// The databases and the workgroup file must already be registered as inputs.
std::optional<Refusal> refusal(const Options& options, const std::vector<Target>& targets, bool toFolder);

// An Access 2007 or later file, by its signature or its extension.
bool isAceFile(const std::string& path);

}  // namespace ql::reporttool
