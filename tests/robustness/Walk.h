#pragma once
// What the analysis reads from a (possibly damaged) database, with every
// error counted rather than thrown: the outcome of one file, read through the
// DAO objects and the module reader, or through the whole analysis.
#include <string>

namespace ql::robustness {

enum class Ending { OpenError, Read };

struct Outcome {
    Ending ending = Ending::Read;
    int openError = 0;       // the DAO error number when the open failed
    int errors = 0;          // errors met after the open (the run's own counter)
    int logLines = 0;        // lines of the run's error log
    std::string message;     // the open error, the first error or the unhandled one
};

// Opens `database` (with `workgroup` when not empty) and reads every table
// definition, field, index, record count and row, every query's SQL and
// field count, every container with its documents, every database property
// and every module's lines. Only ql::RuntimeError is expected from the
// layers below; anything else leaves this function.
Outcome walkDatabase(const std::string& database, const std::string& workgroup = {});

// Opens `database` as the window does and runs the whole analysis; the
// open's DAO error and an error no handler takes are outcomes too.
Outcome runAnalysis(const std::string& database, const std::string& workgroup = {});

// One line for the report pipe of a child process, and back.
std::string encode(const Outcome& outcome);
bool decode(const std::string& line, Outcome& outcome);

// The database a corpus workgroup file is opened with: its own where the
// corpus has one, otherwise a plain database of its Jet version.
std::string partnerDatabase(const std::string& workgroup);

}  // namespace ql::robustness
