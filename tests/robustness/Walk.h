#pragma once
// What the analysis reads from a database, read through the DAO objects and
// the module reader, with every error counted rather than thrown: the outcome
// of one (possibly damaged) file.
#include <string>

namespace ql::robustness {

enum class Ending { OpenError, Partial, Complete };
const char* endingName(Ending ending);

struct WalkOutcome {
    Ending ending = Ending::Complete;
    int openError = 0;      // the DAO error number when the open failed
    int errors = 0;         // DAO or module errors met after the open
    std::string firstError; // for messages
};

// Opens `database` (with `workgroup` when not empty) and reads every table
// definition, field, index, record count and row, every query's SQL and
// field count, every container with its documents, every database property
// and every module's lines. Only ql::RuntimeError is expected from the
// layers below; anything else leaves this function.
WalkOutcome walkDatabase(const std::string& database, const std::string& workgroup = {});

// One line "<ending> <openError> <errors> <firstError>" and back, for the
// report pipe of a child process.
std::string encode(const WalkOutcome& outcome);
bool decode(const std::string& line, WalkOutcome& outcome);

}  // namespace ql::robustness
