#include "report/TextFile.h"

#include <fstream>
#include <sstream>

#include "platform/RuntimeError.h"
#include "platform/files/OutputFiles.h"

namespace ql::report {

void writeLines(const std::string& path, const std::vector<std::string>& lines, OpenMode mode) {
    std::string text;
    for (const std::string& line : lines) text.append(line).append("\r\n");
    files::writeFile(path, text, mode == OpenMode::Append ? files::WriteMode::Append : files::WriteMode::Replace);
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

}  // namespace ql::report
