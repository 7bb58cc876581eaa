// The whole analysis as the headless tool runs it, over a database taken from
// the input: the open as a successful "Database.." leaves the window, then
// the run with every grid, list and module scan. The open's DAO error and an
// error no handler takes (which the program reports and closes on) are
// outcomes; any other exception, a sanitizer report or a hang is a finding.
#include <cstddef>
#include <cstdint>

#include "tests/fuzz/ScratchFiles.h"
#include "tests/robustness/Walk.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    (void)ql::robustness::runAnalysis(ql::fuzz::writeScratch("database.mdb", data, size));
    return 0;
}
