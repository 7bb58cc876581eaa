// The whole analysis as the headless tool runs it, over a database taken from
// the input: the open as a successful "Database.." leaves the window, then
// the run with every grid, list and module scan. The open's DAO error and an
// error no handler takes (which the program reports and closes on) are
// outcomes; any other exception, a sanitizer report or a hang is a finding.
#include <cstddef>
#include <cstdint>
#include <string>

#include "analysis/AnalysisRun.h"
#include "grids/UnhandledError.h"
#include "platform/vba/Automation.h"
#include "platform/RuntimeError.h"
#include "tests/fuzz/ScratchFiles.h"
#include "tests/support/HeadlessWindow.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string database = ql::fuzz::writeScratch("database.mdb", data, size);
    ql::test::HeadlessWindow window;
    try {
        window.open(database);
    } catch (const ql::RuntimeError&) {
        return 0;
    }
    try {
        ql::analysis::cmdAnalyse_Click(window.ctx);
    } catch (const ql::grids::UnhandledError&) {
    }
    if (window.state.AccessApplication) {
        try {
            window.state.AccessApplication->Quit(2);
        } catch (const ql::RuntimeError&) {
        }
    }
    return 0;
}
