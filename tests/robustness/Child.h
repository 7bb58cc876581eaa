#pragma once
// Runs one piece of work in a forked child with an address-space cap and an
// alarm, so that a crash, a hang or a runaway allocation on one damaged input
// is seen by the parent as that input's outcome instead of ending the test.
#include <cstdint>
#include <functional>
#include <string>

namespace ql::robustness {

struct ChildLimits {
    std::uint64_t addressSpaceBytes = 0;  // 0: no cap (sanitizer builds need their shadow memory)
    unsigned seconds = 30;
};

struct ChildResult {
    bool exited = false;       // ended through exit(); otherwise killed by `signal`
    int exitCode = -1;
    int signal = 0;
    bool timedOut = false;     // the alarm fired
    std::string report;        // what the child wrote to its report pipe
    std::string describe() const;
};

// `work` runs in the child with the write end of the report pipe; its return
// value is the child's exit code. An exception leaving `work` ends the child
// with code 120 and the exception's text in the report.
ChildResult runInChild(const std::function<int(int reportFd)>& work, const ChildLimits& limits);

// Writes the whole string to fd (the report pipe).
void writeAll(int fd, const std::string& text);

// True when built with AddressSanitizer, whose shadow memory an address
// space cap would break.
bool underSanitizer();

}  // namespace ql::robustness
