// How long the window could go without running its events during the whole
// analysis of each file given: the headless tool's run, in this process,
// with the reader's progress hook timing the stretches between its calls.
// The window pumps events at these calls (at most every 50 ms), so the
// longest stretch plus that interval is how long it can look frozen.
//
//   responsiveness_bench FILE...
//
// One line per file: "FILE: longest N ms without a progress call, M calls,
// then E ms to the end, run T ms".
#include <QTemporaryDir>

#include <chrono>
#include <cstdio>
#include <sstream>
#include <string>

#include "app/reporttool/ReportTool.h"
#include "env/Probes.h"
#include "platform/registry/Registry.h"
#include "platform/jet/Progress.h"

namespace {

using Clock = std::chrono::steady_clock;

double since(Clock::time_point t) { return std::chrono::duration<double, std::milli>(Clock::now() - t).count(); }

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: responsiveness_bench FILE...\n");
        return 2;
    }
    // The program-wide values the tool computes at start-up.
    const ql::registry::DesktopRegistry registry;
    const ql::env::LinuxSystemProbe probe;
    const ql::env::ProgramValues program = ql::env::ComputeProgramValues(probe, registry);
    int status = 0;
    for (int i = 1; i < argc; ++i) {
        QTemporaryDir out;
        ql::reporttool::Options options;
        options.format = ql::reporttool::Format::Text;
        options.stats = true;
        options.output = out.filePath("report.txt").toStdString();
        options.databases = {argv[i]};
        std::ostringstream sink;
        ql::reporttool::ToolEnvironment environment;
        environment.program = program;
        environment.out = &sink;
        environment.err = &sink;

        const Clock::time_point start = Clock::now();
        Clock::time_point last = start;
        double longest = 0;
        long calls = 0;
        {
            const ql::jet::ProgressScope scope([&] {
                ++calls;
                longest = std::max(longest, since(last));
                last = Clock::now();
            });
            if (ql::reporttool::runTool(options, environment) != 0) status = 1;
        }
        // After the last call: the end of the run, the report and the
        // unmapping of the file (a quarter of a second for 1 GB), which the
        // window does only when it lets the database go.
        const double tail = since(last);
        std::printf("%s: longest %.0f ms without a progress call, %ld calls, then %.0f ms to the end, run %.0f ms\n",
                    argv[i], longest, calls, tail, since(start));
    }
    return status;
}
