#pragma once
// The whole analysis over one database, as the window runs it after a
// successful open, without a screen.
#include <string>

#include "tests/robustness/Walk.h"

namespace ql::robustness {

struct RunOutcome {
    Ending ending = Ending::Complete;
    int openError = 0;
    int errorCount = 0;       // the run's own error counter
    int logLines = 0;         // lines of its error log
    bool unhandled = false;   // the run ended with an error no handler took
    std::string message;      // the open error or the unhandled error, for messages
};

// Opens `database` and runs the analysis. The open's DAO error and an
// unhandled error are outcomes; any other exception leaves this function.
RunOutcome runAnalysis(const std::string& database, const std::string& workgroup = {});

std::string encode(const RunOutcome& outcome);
bool decode(const std::string& line, RunOutcome& outcome);

}  // namespace ql::robustness
