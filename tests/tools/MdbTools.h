// Runs the mdbtools programs (the independent reader the writer's output is checked against).
#pragma once

#include <string>
#include <vector>

namespace ql::jetwriter::test {

struct CommandResult {
    int status = -1;
    std::string out;
};

// Runs `argv` without a shell; stdout is captured, stderr dropped.
CommandResult run(const std::vector<std::string>& argv);

// mdb-export with tab-separated, unquoted fields, NULL shown as "<null>" and binary as hex.
std::vector<std::vector<std::string>> exportTable(const std::string& file, const std::string& table);

std::vector<std::string> splitWords(const std::string& s);
std::string hexDecode(const std::string& hex);
bool mdbtoolsInstalled();

} // namespace ql::jetwriter::test
