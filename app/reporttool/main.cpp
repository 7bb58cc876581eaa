// quarrylantern-report: the window's analysis over databases named on the
// command line, without a screen.
#include <unistd.h>

#include <iostream>

#include "app/reporttool/Options.h"
#include "app/reporttool/ReportTool.h"
#include "env/Probes.h"
#include "platform/registry/Registry.h"

int main(int argc, char** argv) {
    using namespace ql::reporttool;
    const std::string program = "quarrylantern-report";
    const std::vector<std::string> args(argv + (argc > 0 ? 1 : 0), argv + argc);

    const ParseResult parsed = parseOptions(args);
    if (std::holds_alternative<HelpRequested>(parsed)) {
        std::cout << usageText(program);
        return 0;
    }
    if (const auto* usage = std::get_if<UsageError>(&parsed)) {
        std::cerr << program << ": " << usage->message << "\n" << usageText(program);
        return 2;
    }
    const Options& options = std::get<Options>(parsed);

    ToolEnvironment environment;
    environment.programName = program;
    // The same program-wide values the window computes at start-up.
    const ql::registry::DesktopRegistry registry;
    const ql::env::LinuxSystemProbe probe;
    environment.program = ql::env::ComputeProgramValues(probe, registry);
    environment.out = &std::cout;
    environment.err = &std::cerr;
    environment.progressLines = isatty(STDERR_FILENO) == 1;
    return runTool(options, environment);
}
