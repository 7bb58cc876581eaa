#include "platform/vba/ModuleSource.h"

#include "platform/text/CodePage.h"
#include "platform/text/Unicode.h"

#include <stdexcept>

namespace ql::vba {
namespace {

// Splits at CR LF, and at a lone CR or LF too so that damaged text still
// gives lines. The empty piece after the final line end is not a line.
std::vector<std::string_view> splitLines(std::string_view text) {
    std::vector<std::string_view> out;
    std::size_t begin = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\r' && text[i] != '\n') continue;
        out.push_back(text.substr(begin, i - begin));
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
        begin = i + 1;
    }
    if (begin < text.size()) out.push_back(text.substr(begin));
    return out;
}

}  // namespace

bool isAttributeLine(std::string_view line) {
    static constexpr std::string_view kKeyword = "Attribute ";
    if (line.substr(0, kKeyword.size()) != kKeyword) return false;
    const std::string_view rest = line.substr(kKeyword.size());
    const std::size_t nameEnd = rest.find(' ');
    if (nameEnd == 0 || nameEnd == std::string_view::npos) return false;
    return rest.substr(nameEnd, 3) == " = ";
}

ModuleSource::ModuleSource(std::string_view stored, int codePage) {
    // Lines are split on the stored bytes: CR and LF never occur inside a
    // character of the ANSI code pages VBA uses, single- or double-byte.
    stored_ = text::decodeCodePage(stored, codePage);
    undecodable_ = text::hasReplacementCharacter(stored_);
    for (std::string_view line : splitLines(stored)) {
        if (isAttributeLine(line)) continue;
        lines_.push_back(text::decodeCodePage(line, codePage));
    }
}

std::string ModuleSource::lines(std::int32_t start, std::int32_t count) const {
    if (start < 1 || count < 1) throw std::out_of_range("line range starts before line 1 or is empty");
    std::string out;
    const std::int64_t last = std::min<std::int64_t>(std::int64_t{start} + count - 1, countOfLines());
    for (std::int64_t i = start; i <= last; ++i) {
        if (i > start) out += "\r\n";
        out += lines_[static_cast<std::size_t>(i - 1)];
    }
    return out;
}

}  // namespace ql::vba
