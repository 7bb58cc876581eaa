#include "tests/tools/MdbTools.h"

#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace ql::jetwriter::test {

CommandResult run(const std::vector<std::string>& argv)
{
    int fds[2];
    if (pipe(fds) != 0) throw std::runtime_error("pipe");
    const pid_t pid = fork();
    if (pid < 0) throw std::runtime_error("fork");
    if (pid == 0) {
        dup2(fds[1], 1);
        close(fds[0]);
        close(fds[1]);
        freopen("/dev/null", "w", stderr);
        std::vector<char*> args;
        for (const auto& a : argv) args.push_back(const_cast<char*>(a.c_str()));
        args.push_back(nullptr);
        execvp(args[0], args.data());
        _exit(127);
    }
    close(fds[1]);
    CommandResult r;
    char buf[65536];
    ssize_t n;
    while ((n = read(fds[0], buf, sizeof buf)) > 0) r.out.append(buf, static_cast<std::size_t>(n));
    close(fds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    r.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return r;
}

std::vector<std::vector<std::string>> exportTable(const std::string& file, const std::string& table)
{
    const CommandResult r = run({"mdb-export", "-H", "-Q", "-d", "\t", "-0", "<null>", "-b", "hex", file, table});
    if (r.status != 0) throw std::runtime_error("mdb-export failed on " + table);
    std::vector<std::vector<std::string>> rows;
    std::istringstream in(r.out);
    std::string line;
    while (std::getline(in, line)) {
        std::vector<std::string> cells;
        std::size_t start = 0;
        for (;;) {
            const std::size_t tab = line.find('\t', start);
            cells.push_back(line.substr(start, tab == std::string::npos ? std::string::npos : tab - start));
            if (tab == std::string::npos) break;
            start = tab + 1;
        }
        rows.push_back(std::move(cells));
    }
    return rows;
}

std::vector<std::string> splitWords(const std::string& s)
{
    std::vector<std::string> out;
    std::istringstream in(s);
    std::string w;
    while (in >> w) out.push_back(w);
    return out;
}

std::string hexDecode(const std::string& hex)
{
    std::string out;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) out.push_back(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    return out;
}

bool mdbtoolsInstalled() { return run({"mdb-ver", "-M"}).status != 127; }

} // namespace ql::jetwriter::test
