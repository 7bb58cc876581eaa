#include "platform/text/Unicode.h"

namespace ql::text {

namespace {
bool isHighSurrogate(char32_t u) { return u >= 0xD800 && u <= 0xDBFF; }
bool isLowSurrogate(char32_t u) { return u >= 0xDC00 && u <= 0xDFFF; }
bool isSurrogate(char32_t u) { return u >= 0xD800 && u <= 0xDFFF; }
char32_t combine(char32_t high, char32_t low) { return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00); }
}  // namespace

void appendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (c >> 6)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else if (c < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (c >> 12)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (c >> 18)));
        out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
}

char32_t nextCodePoint(std::string_view s, std::size_t& i) {
    const unsigned char c = s[i];
    const int extra = c < 0x80 ? 0 : c < 0xE0 ? 1 : c < 0xF0 ? 2 : 3;
    char32_t cp = extra == 0 ? c : extra == 1 ? (c & 0x1F) : extra == 2 ? (c & 0x0F) : (c & 0x07);
    ++i;
    for (int k = 0; k < extra && i < s.size(); ++k, ++i) cp = (cp << 6) | (static_cast<unsigned char>(s[i]) & 0x3F);
    return cp;
}

void appendUtf16le(std::string& out, std::string_view bytes, OddByte oddByte) {
    const std::size_t units = bytes.size() / 2;
    auto unitAt = [&](std::size_t i) -> char32_t {
        return static_cast<unsigned char>(bytes[2 * i]) | (static_cast<unsigned char>(bytes[2 * i + 1]) << 8);
    };
    for (std::size_t i = 0; i < units; ++i) {
        const char32_t u = unitAt(i);
        if (u < 0x80) {
            out.push_back(static_cast<char>(u));
        } else if (isHighSurrogate(u) && i + 1 < units && isLowSurrogate(unitAt(i + 1))) {
            appendUtf8(out, combine(u, unitAt(i + 1)));
            ++i;
        } else {
            appendUtf8(out, isSurrogate(u) ? kReplacementCharacter : u);
        }
    }
    if (bytes.size() % 2 && oddByte == OddByte::Replace) out += kReplacementUtf8;
}

std::string utf16leToUtf8(std::string_view bytes, OddByte oddByte) {
    std::string out;
    out.reserve(bytes.size() / 2);
    appendUtf16le(out, bytes, oddByte);
    return out;
}

std::string toUtf8(std::u16string_view units) {
    std::string out;
    out.reserve(units.size());
    for (std::size_t i = 0; i < units.size(); ++i) {
        const char32_t u = units[i];
        if (isHighSurrogate(u) && i + 1 < units.size() && isLowSurrogate(units[i + 1])) {
            appendUtf8(out, combine(u, units[i + 1]));
            ++i;
        } else {
            appendUtf8(out, isSurrogate(u) ? kReplacementCharacter : u);
        }
    }
    return out;
}

std::u16string toUtf16(std::string_view utf8) {
    std::u16string out;
    out.reserve(utf8.size());
    std::size_t i = 0;
    while (i < utf8.size()) {
        const unsigned char lead = utf8[i];
        const std::size_t length = lead < 0x80 ? 1 : (lead >= 0xC2 && lead <= 0xDF) ? 2
                                   : (lead >= 0xE0 && lead <= 0xEF)                ? 3
                                   : (lead >= 0xF0 && lead <= 0xF4)                ? 4
                                                                                   : 0;
        char32_t cp = length == 1 ? lead : length == 2 ? (lead & 0x1F) : length == 3 ? (lead & 0x0F) : (lead & 0x07);
        std::size_t taken = 1;
        bool valid = length != 0 && i + length <= utf8.size();
        for (; valid && taken < length; ++taken) {
            const unsigned char next = utf8[i + taken];
            if ((next & 0xC0) != 0x80) valid = false;
            else cp = (cp << 6) | (next & 0x3F);
        }
        // Overlong forms, surrogates and code points past U+10FFFF are as
        // invalid as a broken sequence.
        if (valid && ((length == 3 && cp < 0x800) || (length == 4 && (cp < 0x10000 || cp > 0x10FFFF)) || isSurrogate(cp)))
            valid = false;
        if (!valid || cp == 0) {
            // One replacement per byte that does not start a valid sequence.
            out.push_back(static_cast<char16_t>(kReplacementCharacter));
            ++i;
            continue;
        }
        if (cp >= 0x10000) {
            out.push_back(static_cast<char16_t>(0xD800 + ((cp - 0x10000) >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + ((cp - 0x10000) & 0x3FF)));
        } else {
            out.push_back(static_cast<char16_t>(cp));
        }
        i += length;
    }
    return out;
}

bool hasReplacementCharacter(std::string_view utf8) { return utf8.find(kReplacementUtf8) != std::string_view::npos; }

}  // namespace ql::text
