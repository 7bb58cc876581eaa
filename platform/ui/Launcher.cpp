#include "platform/ui/Launcher.h"

#include <QProcess>
#include <QStandardPaths>
#include <QString>
#include <QStringList>

#include <unistd.h>

namespace ql::ui {

std::vector<std::string> splitCommandLine(const std::string& line) {
    std::vector<std::string> args;
    std::size_t i = 0;
    const std::size_t n = line.size();
    auto isBlank = [](char c) { return c == ' ' || c == '\t'; };

    while (i < n && isBlank(line[i])) ++i;
    if (i == n) return args;

    // The program name: no escapes, quotes only group.
    std::string program;
    if (line[i] == '"') {
        ++i;
        while (i < n && line[i] != '"') program += line[i++];
        if (i < n) ++i;
        // Text glued to the closing quote still belongs to the name.
        while (i < n && !isBlank(line[i])) program += line[i++];
    } else {
        while (i < n && !isBlank(line[i])) program += line[i++];
    }
    args.push_back(program);

    while (true) {
        while (i < n && isBlank(line[i])) ++i;
        if (i == n) break;
        std::string arg;
        bool quoted = false;
        while (i < n && (quoted || !isBlank(line[i]))) {
            if (line[i] == '\\') {
                std::size_t slashes = 0;
                while (i < n && line[i] == '\\') {
                    ++slashes;
                    ++i;
                }
                if (i < n && line[i] == '"') {
                    arg.append(slashes / 2, '\\');
                    if (slashes % 2) {
                        arg += '"';
                        ++i;
                    }
                } else {
                    arg.append(slashes, '\\');
                }
            } else if (line[i] == '"') {
                if (quoted && i + 1 < n && line[i + 1] == '"') {
                    arg += '"';
                    i += 2;
                } else {
                    quoted = !quoted;
                    ++i;
                }
            } else {
                arg += line[i++];
            }
        }
        args.push_back(arg);
    }
    return args;
}

namespace {

std::string findProgram(const std::string& program) {
    if (program.empty()) return {};
    if (program.find('/') != std::string::npos)
        return ::access(program.c_str(), X_OK) == 0 ? program : std::string();
    return QStandardPaths::findExecutable(QString::fromStdString(program)).toStdString();
}

bool spawnDetached(const std::string& program, const std::vector<std::string>& arguments) {
    QStringList args;
    for (const auto& a : arguments) args << QString::fromStdString(a);
    return QProcess::startDetached(QString::fromStdString(program), args);
}

}  // namespace

Launcher::Launcher() : Launcher(findProgram, spawnDetached) {}

Launcher::Launcher(Finder finder, Spawner spawner)
    : finder_(std::move(finder)), spawner_(std::move(spawner)) {}

void Launcher::start(const std::string& commandLine, WindowStyle /*style*/) const {
    auto args = splitCommandLine(commandLine);
    if (args.empty()) throw RuntimeError(runtime_errors::FileNotFound, "File not found");
    const std::string program = args.front();
    args.erase(args.begin());

    if (const auto found = finder_(program); !found.empty()) {
        if (spawner_(found, args)) return;
        throw RuntimeError(runtime_errors::FileNotFound, "File not found");
    }
    if (!args.empty()) {
        const auto opener = finder_(kDesktopOpener);
        if (!opener.empty() && spawner_(opener, {args.back()})) return;
    }
    throw RuntimeError(runtime_errors::FileNotFound, "File not found");
}

}  // namespace ql::ui
