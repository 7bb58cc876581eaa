#include "tests/platform/jet/Process.h"

#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace ql::test {

ProcessResult runProgram(const std::vector<std::string>& argv, const std::vector<std::string>& extraEnv) {
    ProcessResult result;
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
    for (const std::string& e : extraEnv) envStrings.push_back(e);
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

bool programExists(const std::string& name) { return runProgram({"sh", "-c", "command -v " + name}).exitCode == 0; }

}  // namespace ql::test
