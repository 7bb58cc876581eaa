#include "tests/robustness/Walk.h"

#include "analysis/AnalysisRun.h"
#include "grids/UnhandledError.h"
#include "platform/vba/Automation.h"
#include "tests/support/HeadlessWindow.h"

namespace ql::robustness {

Outcome runAnalysis(const std::string& database, const std::string& workgroup) {
    Outcome outcome;
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
        outcome.message = std::to_string(e.error().number()) + " " + e.error().description();
    }
    if (window.state.AccessApplication) {
        try {
            window.state.AccessApplication->Quit(2);
        } catch (const RuntimeError&) {
        }
    }
    outcome.errors = window.state.ErrorCount;
    outcome.logLines = static_cast<int>(window.errorLogLines().size());
    return outcome;
}

}  // namespace ql::robustness
