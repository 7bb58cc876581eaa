#pragma once
// The mdbtools programs (mdb-export, mdb-schema, mdb-count ...): an
// independent Jet reader that tests compare the project's readers and the
// test-database writer with. Never used by the program itself.
#include <string>
#include <vector>

namespace ql::test {

struct ProgramResult {
    int exitCode = -1;  // -1 when the program could not be started or was killed
    std::string out;    // standard output; standard error is dropped
};

// Runs argv without a shell, argv[0] looked up on PATH; extraEnv entries are
// "NAME=value" added to this process's environment.
ProgramResult runProgram(const std::vector<std::string>& argv, const std::vector<std::string>& extraEnv = {});

bool mdbtoolsInstalled();

// mdb-export of one table, one vector of cells per row, the header row first
// unless `options` holds "-H". Cells and rows are separated by control
// characters no stored text holds, so values with tabs or line breaks stay
// whole; cells are never quoted. `options` go before the file name (e.g.
// {"-b", "hex", "-0", "<null>"}). Throws std::runtime_error when mdb-export
// fails.
using ExportedRows = std::vector<std::vector<std::string>>;
ExportedRows mdbExport(const std::string& file, const std::string& table, const std::vector<std::string>& options = {},
                       const std::vector<std::string>& extraEnv = {});

// The whitespace-separated words of a program's output.
std::vector<std::string> words(const std::string& text);

}  // namespace ql::test
