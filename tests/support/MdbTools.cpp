#include "tests/support/MdbTools.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <sstream>
#include <stdexcept>

extern char** environ;

namespace ql::test {

namespace {
constexpr char kCellSeparator = '\x1f';
constexpr char kRowSeparator = '\x1e';
}  // namespace

ProgramResult runProgram(const std::vector<std::string>& argv, const std::vector<std::string>& extraEnv) {
    ProgramResult result;
    if (argv.empty()) return result;
    int pipeFds[2];
    if (pipe(pipeFds) != 0) return result;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], 1);
    posix_spawn_file_actions_addclose(&actions, pipeFds[0]);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);

    std::vector<char*> args;
    for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    std::vector<std::string> envStrings;
    for (char** e = environ; *e; ++e) envStrings.emplace_back(*e);
    envStrings.insert(envStrings.end(), extraEnv.begin(), extraEnv.end());
    std::vector<char*> env;
    for (std::string& e : envStrings) env.push_back(e.data());
    env.push_back(nullptr);

    pid_t pid = 0;
    const int rc = posix_spawnp(&pid, args[0], &actions, nullptr, args.data(), env.data());
    posix_spawn_file_actions_destroy(&actions);
    close(pipeFds[1]);
    if (rc != 0) {
        close(pipeFds[0]);
        return result;
    }
    char buffer[65536];
    ssize_t n;
    while ((n = read(pipeFds[0], buffer, sizeof buffer)) > 0) result.out.append(buffer, static_cast<std::size_t>(n));
    close(pipeFds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

bool mdbtoolsInstalled() { return runProgram({"mdb-ver", "-M"}).exitCode == 0; }

ExportedRows mdbExport(const std::string& file, const std::string& table, const std::vector<std::string>& options,
                       const std::vector<std::string>& extraEnv) {
    std::vector<std::string> argv = {"mdb-export", "-Q", "-d", std::string(1, kCellSeparator), "-R",
                                     std::string(1, kRowSeparator)};
    argv.insert(argv.end(), options.begin(), options.end());
    argv.push_back(file);
    argv.push_back(table);
    const ProgramResult result = runProgram(argv, extraEnv);
    if (result.exitCode != 0) throw std::runtime_error("mdb-export cannot read " + table + " of " + file);

    ExportedRows rows;
    const std::string& out = result.out;
    for (std::size_t start = 0; start < out.size();) {
        std::size_t end = out.find(kRowSeparator, start);
        if (end == std::string::npos) end = out.size();
        std::vector<std::string> cells;
        for (std::size_t cell = start;;) {
            const std::size_t sep = out.find(kCellSeparator, cell);
            if (sep == std::string::npos || sep > end) {
                cells.push_back(out.substr(cell, end - cell));
                break;
            }
            cells.push_back(out.substr(cell, sep - cell));
            cell = sep + 1;
        }
        rows.push_back(std::move(cells));
        start = end + 1;
    }
    return rows;
}

std::vector<std::string> words(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string w; in >> w;) out.push_back(w);
    return out;
}

}  // namespace ql::test
