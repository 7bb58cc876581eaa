#include "report/TextFile.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>

#include "platform/RuntimeError.h"

namespace ql::report {

void writeLines(const std::string& path, const std::vector<std::string>& lines, OpenMode mode) {
    std::ofstream out(path, std::ios::binary | (mode == OpenMode::Append ? std::ios::app : std::ios::trunc));
    if (!out) throw fileOpenError(errno);
    for (const std::string& line : lines) out << line << "\r\n";
    out.flush();
    if (!out) throw RuntimeError(runtime_errors::PathFileAccess, "Path/File access error");
}

std::vector<std::string> readLines(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw fileOpenError(errno);
    std::ostringstream whole;
    whole << in.rdbuf();
    const std::string text = whole.str();
    std::vector<std::string> lines;
    std::string line;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '\r' || c == '\n') {
            lines.push_back(line);
            line.clear();
            if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
        } else {
            line += c;
        }
    }
    if (!line.empty()) lines.push_back(line);
    return lines;
}

void replaceFile(const std::string& from, const std::string& to) {
    namespace fs = std::filesystem;
    std::error_code error;
    fs::rename(from, to, error);
    if (!error) return;
    // rename() cannot cross file systems; the scratch folder may be elsewhere.
    fs::copy_file(from, to, fs::copy_options::overwrite_existing, error);
    if (error) throw RuntimeError(runtime_errors::PathFileAccess, "Path/File access error");
    fs::remove(from, error);
}

}  // namespace ql::report
