#include "tests/support/HeadlessWindow.h"

#include <fstream>

#include "open/OpenForAnalysis.h"

namespace ql::test {

HeadlessWindow::HeadlessWindow()
    : settings(folder.path(), folder.path() / "user", [](const std::filesystem::path&) { return true; }),
      ctx{state, ui, controls, program, settings, folder.path().string()} {
    program.AccessApplicationClass = "Access.Application";
}

void HeadlessWindow::open(const std::filesystem::path& database, const std::filesystem::path& workgroup) {
    open::openForAnalysis(ctx, database.string(), workgroup.string());
    state.ErrorLogPath = (folder.path() / "Errors.Log").string();
}

std::vector<std::string> HeadlessWindow::errorLogLines() const {
    std::vector<std::string> lines;
    std::ifstream in(state.ErrorLogPath, std::ios::binary);
    std::string line;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        lines.push_back(line);
    }
    return lines;
}

}  // namespace ql::test
