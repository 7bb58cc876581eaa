#include "tests/robustness/Child.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ql::robustness {

void writeAll(int fd, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return;
        done += static_cast<std::size_t>(n);
    }
}

bool underSanitizer() {
#if defined(__SANITIZE_ADDRESS__)
    return true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
    return true;
#else
    return false;
#endif
#else
    return false;
#endif
}

std::string ChildResult::describe() const {
    if (timedOut) return "no result within the time cap (a hang or an endless loop)";
    if (!exited) return std::string("killed by signal ") + std::to_string(signal) + " (" + strsignal(signal) + ")";
    return "exit code " + std::to_string(exitCode) + (report.empty() ? std::string() : ": " + report);
}

ChildResult runInChild(const std::function<int(int reportFd)>& work, const ChildLimits& limits) {
    int fds[2];
    if (::pipe(fds) != 0) throw std::runtime_error("pipe failed");
    const pid_t pid = ::fork();
    if (pid < 0) {
        ::close(fds[0]);
        ::close(fds[1]);
        throw std::runtime_error("fork failed");
    }
    if (pid == 0) {
        ::close(fds[0]);
        if (limits.addressSpaceBytes && !underSanitizer()) {
            rlimit cap{limits.addressSpaceBytes, limits.addressSpaceBytes};
            ::setrlimit(RLIMIT_AS, &cap);
        }
        // The default action of SIGALRM ends the child; the parent tells
        // that apart from a crash by the signal number.
        std::signal(SIGALRM, SIG_DFL);
        ::alarm(limits.seconds);
        int code = 0;
        try {
            code = work(fds[1]);
        } catch (const std::exception& e) {
            writeAll(fds[1], std::string("escaped exception: ") + e.what());
            code = 120;
        } catch (...) {
            writeAll(fds[1], "escaped exception of an unknown type");
            code = 120;
        }
        ::close(fds[1]);
        // _exit: the parent's gtest state and static destructors are not ours.
        ::_exit(code);
    }
    ::close(fds[1]);
    ChildResult result;
    char buffer[4096];
    for (;;) {
        const ssize_t n = ::read(fds[0], buffer, sizeof buffer);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        result.report.append(buffer, static_cast<std::size_t>(n));
    }
    ::close(fds[0]);
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status)) {
        result.exited = true;
        result.exitCode = WEXITSTATUS(status);
    } else if (WIFSIGNALED(status)) {
        result.signal = WTERMSIG(status);
        result.timedOut = result.signal == SIGALRM;
    }
    return result;
}

}  // namespace ql::robustness
