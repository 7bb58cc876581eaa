#include "tests/robustness/FullRun.h"

#include <sstream>

#include "analysis/AnalysisRun.h"
#include "grids/UnhandledError.h"
#include "platform/vba/Automation.h"
#include "tests/support/HeadlessWindow.h"

namespace ql::robustness {

RunOutcome runAnalysis(const std::string& database, const std::string& workgroup) {
    RunOutcome outcome;
    test::HeadlessWindow window;
    try {
        window.open(database, workgroup);
    } catch (const RuntimeError& e) {
        outcome.ending = Ending::OpenError;
        outcome.openError = e.number();
        outcome.message = e.description();
        return outcome;
    }
    try {
        analysis::cmdAnalyse_Click(window.ctx);
    } catch (const grids::UnhandledError& e) {
        // The program reports it and closes: a finished run, not a crash.
        outcome.unhandled = true;
        outcome.message = std::to_string(e.error().number()) + " " + e.error().description();
    }
    if (window.state.AccessApplication) {
        try {
            window.state.AccessApplication->Quit(2);
        } catch (const RuntimeError&) {
        }
    }
    outcome.errorCount = window.state.ErrorCount;
    outcome.logLines = static_cast<int>(window.errorLogLines().size());
    outcome.ending = outcome.unhandled || outcome.errorCount != 0 || outcome.logLines != 0 ? Ending::Partial
                                                                                           : Ending::Complete;
    return outcome;
}

std::string encode(const RunOutcome& outcome) {
    std::string message = outcome.message;
    for (char& c : message)
        if (c == '\n' || c == '\r') c = ' ';
    return std::to_string(static_cast<int>(outcome.ending)) + " " + std::to_string(outcome.openError) + " " +
           std::to_string(outcome.errorCount) + " " + std::to_string(outcome.logLines) + " " +
           std::to_string(outcome.unhandled ? 1 : 0) + " " + message + "\n";
}

bool decode(const std::string& line, RunOutcome& outcome) {
    std::istringstream in(line);
    int ending = -1, unhandled = 0;
    if (!(in >> ending >> outcome.openError >> outcome.errorCount >> outcome.logLines >> unhandled) || ending < 0 ||
        ending > 2)
        return false;
    outcome.ending = static_cast<Ending>(ending);
    outcome.unhandled = unhandled != 0;
    std::getline(in, outcome.message);
    if (!outcome.message.empty() && outcome.message.front() == ' ') outcome.message.erase(0, 1);
    return true;
}

}  // namespace ql::robustness
