#include "platform/text/Names.h"

#include "platform/text/Unicode.h"

namespace ql::text {

char32_t foldCase(char32_t c) {
    if (c >= 'A' && c <= 'Z') return c + 32;
    if (c < 0x80) return c;
    if (c >= 0xC0 && c <= 0xDE && c != 0xD7) return c + 32;
    // Latin Extended-A pairs upper and lower case as even/odd code points,
    // except in two runs where the upper case is the odd one.
    if (c >= 0x100 && c <= 0x17F && c != 0x130 && c != 0x131 && c != 0x138 && c != 0x149 && c != 0x178)
        return ((c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E)) ? ((c & 1) ? c + 1 : c) : (c | 1);
    if (c >= 0x391 && c <= 0x3AB && c != 0x3A2) return c + 32;
    if (c >= 0x410 && c <= 0x42F) return c + 32;
    if (c >= 0x400 && c <= 0x40F) return c + 80;
    return c;
}

bool sameName(std::string_view a, std::string_view b) {
    std::size_t i = 0, j = 0;
    while (i < a.size() && j < b.size())
        if (foldCase(nextCodePoint(a, i)) != foldCase(nextCodePoint(b, j))) return false;
    return i == a.size() && j == b.size();
}

std::string foldedName(std::string_view name) {
    std::string out;
    out.reserve(name.size());
    for (std::size_t i = 0; i < name.size();) appendUtf8(out, foldCase(nextCodePoint(name, i)));
    return out;
}

std::string_view trimmedView(std::string_view text, std::string_view blanks) {
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string trimmed(std::string_view text, std::string_view blanks) { return std::string(trimmedView(text, blanks)); }

}  // namespace ql::text
