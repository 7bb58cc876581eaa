#include "tools/jetwriter/Bytes.h"

namespace ql::jetwriter {

std::u16string utf8ToUtf16(std::string_view s)
{
    std::u16string out;
    out.reserve(s.size());
    std::size_t i = 0;
    auto bad = [] { throw std::invalid_argument("text is not valid UTF-8"); };
    while (i < s.size()) {
        const auto c = static_cast<unsigned char>(s[i]);
        std::uint32_t cp = 0;
        int extra = 0;
        if (c < 0x80) { cp = c; }
        else if ((c & 0xE0) == 0xC0) { cp = c & 0x1F; extra = 1; }
        else if ((c & 0xF0) == 0xE0) { cp = c & 0x0F; extra = 2; }
        else if ((c & 0xF8) == 0xF0) { cp = c & 0x07; extra = 3; }
        else bad();
        if (extra > 0 && i + extra >= s.size()) bad();
        for (int k = 1; k <= extra; ++k) {
            const auto d = static_cast<unsigned char>(s[i + k]);
            if ((d & 0xC0) != 0x80) bad();
            cp = (cp << 6) | (d & 0x3F);
        }
        i += 1 + extra;
        if (cp >= 0x10000) {
            cp -= 0x10000;
            out.push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
        } else {
            out.push_back(static_cast<char16_t>(cp));
        }
    }
    return out;
}

void putName(Bytes& b, std::string_view utf8)
{
    const std::u16string u = utf8ToUtf16(utf8);
    put16(b, static_cast<std::uint16_t>(u.size() * 2));
    for (char16_t ch : u) put16(b, ch);
}

} // namespace ql::jetwriter
