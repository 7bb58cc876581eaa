#pragma once
// Runs an oracle program (mdbtools) and captures what it prints.
#include <string>
#include <utility>
#include <vector>

namespace ql::test {

struct ProcessResult {
    int exitCode = -1;
    std::string out;
};

// argv[0] is looked up on PATH; extraEnv entries are "NAME=value".
ProcessResult runProgram(const std::vector<std::string>& argv, const std::vector<std::string>& extraEnv = {});

bool programExists(const std::string& name);

}  // namespace ql::test
