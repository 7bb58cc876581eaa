#pragma once
// Runs a program without a shell and keeps its exit status, standard output
// and standard error.
#include <string>
#include <vector>

namespace ql::test {

struct ProgramRun {
    int status = -1;  // exit status; -1 when it did not exit normally
    std::string out;
    std::string err;
};

ProgramRun runProgram(const std::vector<std::string>& argv);

}  // namespace ql::test
