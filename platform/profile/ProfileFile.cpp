#include "platform/profile/ProfileFile.h"

#include <fstream>
#include <optional>
#include <system_error>
#include <vector>

#include "platform/files/OutputFiles.h"
#include "platform/text/Names.h"

namespace ql::profile {
namespace {

constexpr std::string_view kBlanks = " \t";

// Blanks around names and values; a line end is not one.
std::string_view trim(std::string_view s) { return text::trimmedView(s, kBlanks); }

struct ParsedFile {
    std::vector<std::string> lines;
    std::string eol = "\n";        // the file's own line end, kept on rewrite
    bool endsWithEol = true;
};

std::optional<std::string> readWholeFile(const std::filesystem::path& path) {
    std::error_code ec;
    const auto size = std::filesystem::file_size(path, ec);
    if (ec || size > kMaxProfileFileSize) return std::nullopt;
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    std::string data(static_cast<std::size_t>(size), '\0');
    in.read(data.data(), static_cast<std::streamsize>(data.size()));
    data.resize(static_cast<std::size_t>(in.gcount()));
    return data;
}

ParsedFile splitLines(const std::string& data) {
    ParsedFile file;
    std::size_t start = 0;
    bool sawCrLf = false, sawLf = false;
    while (start < data.size()) {
        const auto nl = data.find('\n', start);
        if (nl == std::string::npos) {
            file.lines.push_back(data.substr(start));
            file.endsWithEol = false;
            break;
        }
        std::size_t end = nl;
        if (end > start && data[end - 1] == '\r') {
            --end;
            sawCrLf = true;
        } else {
            sawLf = true;
        }
        file.lines.push_back(data.substr(start, end - start));
        start = nl + 1;
    }
    if (sawCrLf && !sawLf) file.eol = "\r\n";
    return file;
}

// The section name of a "[name]" line, or nothing for any other line.
std::optional<std::string_view> sectionName(std::string_view line) {
    const auto t = trim(line);
    if (t.empty() || t.front() != '[') return std::nullopt;
    const auto close = t.find(']');
    if (close == std::string_view::npos) return std::nullopt;
    return trim(t.substr(1, close - 1));
}

// The key and the raw value text of a "key=value" line.
std::optional<std::pair<std::string_view, std::string_view>> keyValue(std::string_view line) {
    const auto eq = line.find('=');
    if (eq == std::string_view::npos) return std::nullopt;
    return std::make_pair(trim(line.substr(0, eq)), line.substr(eq + 1));
}

std::string unquote(std::string_view raw) {
    auto v = trim(raw);
    if (v.size() >= 2 && (v.front() == '"' || v.front() == '\'') && v.back() == v.front())
        v = v.substr(1, v.size() - 2);
    return std::string(v);
}

// Cuts to at most `limit` bytes, backing off so that no UTF-8 sequence is split.
std::string cutTo(std::string text, std::size_t limit) {
    if (text.size() <= limit) return text;
    std::size_t n = limit;
    while (n > 0 && (static_cast<unsigned char>(text[n]) & 0xC0) == 0x80) --n;
    text.resize(n);
    return text;
}

// Index range [first line after the header, end) of the first section named
// `section`, or nothing.
struct SectionRange {
    std::size_t header;
    std::size_t end;
};

std::optional<SectionRange> findSection(const std::vector<std::string>& lines,
                                        std::string_view section) {
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const auto name = sectionName(lines[i]);
        if (!name || !text::sameName(*name, section)) continue;
        std::size_t end = i + 1;
        while (end < lines.size() && !sectionName(lines[end])) ++end;
        return SectionRange{i, end};
    }
    return std::nullopt;
}

// Changes the key's line in place, or adds the key at the end of its section
// (before any blank lines that end it), or adds the section at the end.
void setEntry(ParsedFile& file, std::string_view section, std::string_view key,
              std::string_view value) {
    auto& lines = file.lines;
    const auto range = findSection(lines, section);
    if (!range) {
        if (!lines.empty() && !trim(lines.back()).empty()) lines.emplace_back();
        lines.push_back("[" + std::string(section) + "]");
        lines.push_back(std::string(key) + "=" + std::string(value));
        file.endsWithEol = true;
        return;
    }
    std::size_t lastEntry = range->header;
    for (std::size_t i = range->header + 1; i < range->end; ++i) {
        const auto kv = keyValue(lines[i]);
        if (kv && text::sameName(kv->first, key)) {
            // Keep the key as the file spells it; only the value changes.
            lines[i] = std::string(kv->first) + "=" + std::string(value);
            return;
        }
        if (!trim(lines[i]).empty()) lastEntry = i;
    }
    lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(lastEntry + 1),
                 std::string(key) + "=" + std::string(value));
    if (lastEntry + 2 == lines.size()) file.endsWithEol = true;
}

}  // namespace

std::string readProfileString(const std::filesystem::path& path, std::string_view section,
                              std::string_view key, std::string_view defaultValue,
                              std::size_t bufferSize) {
    const std::size_t limit = bufferSize == 0 ? 0 : bufferSize - 1;
    const auto data = readWholeFile(path);
    if (!data) return cutTo(std::string(defaultValue), limit);
    const auto file = splitLines(*data);
    const auto range = findSection(file.lines, trim(section));
    if (!range) return cutTo(std::string(defaultValue), limit);
    for (std::size_t i = range->header + 1; i < range->end; ++i) {
        const auto kv = keyValue(file.lines[i]);
        if (kv && text::sameName(kv->first, trim(key))) return cutTo(unquote(kv->second), limit);
    }
    return cutTo(std::string(defaultValue), limit);
}

bool writeProfileString(const std::filesystem::path& path, std::string_view section,
                        std::string_view key, std::string_view value) {
    // A value holding a line end would turn into extra lines of the file.
    const auto stop = value.find_first_of("\r\n");
    if (stop != std::string_view::npos) value = value.substr(0, stop);
    section = trim(section);
    key = trim(key);

    std::error_code ec;
    ParsedFile file;
    if (std::filesystem::exists(path, ec)) {
        const auto data = readWholeFile(path);
        if (!data) return false;
        file = splitLines(*data);
    }

    setEntry(file, section, key, value);

    std::string out;
    for (std::size_t i = 0; i < file.lines.size(); ++i) {
        out += file.lines[i];
        if (i + 1 < file.lines.size() || file.endsWithEol) out += file.eol;
    }
    try {
        files::replaceContents(path, out);
        return true;
    } catch (const RuntimeError&) {
        return false;
    }
}

}  // namespace ql::profile
