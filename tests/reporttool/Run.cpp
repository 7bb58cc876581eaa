#include "tests/reporttool/Run.h"

#include <cerrno>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

#include "tests/support/TempFolder.h"

extern char** environ;

namespace ql::test {

ProgramRun runProgram(const std::vector<std::string>& argv) {
    // Both streams go to files, so that neither pipe can fill up and stall
    // the child while the other is being read.
    TempFolder folder;
    const std::string outPath = (folder / "out").string();
    const std::string errPath = (folder / "err").string();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    std::vector<char*> args;
    for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    pid_t pid = 0;
    const int spawned = posix_spawnp(&pid, args[0], &actions, nullptr, args.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0) throw std::runtime_error("cannot start " + argv.front());
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    ProgramRun run;
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.out = TempFolder::read(outPath);
    run.err = TempFolder::read(errPath);
    return run;
}

}  // namespace ql::test
