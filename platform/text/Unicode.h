#pragma once
// The program's text is UTF-8. This is where it is put together from code
// points and from the UTF-16 that Jet, VBA and workbooks store, and taken
// back apart. Nothing here fails: what cannot be decoded becomes U+FFFD.
#include <cstdint>
#include <string>
#include <string_view>

namespace ql::text {

inline constexpr char32_t kReplacementCharacter = 0xFFFD;
inline constexpr std::string_view kReplacementUtf8 = "\xEF\xBF\xBD";

void appendUtf8(std::string& out, char32_t codePoint);
// The code point that starts at `i`, and `i` moved past it. Invalid UTF-8 is
// read leniently (its bits as they come); names from the file are valid.
char32_t nextCodePoint(std::string_view text, std::size_t& i);

// What to make of a last byte that is half a UTF-16 unit.
enum class OddByte {
    Drop,     // Jet's text values: the stored length is in bytes, a half unit is padding
    Replace,  // VBA names: a half unit is damage, shown as U+FFFD
};
// UTF-16LE bytes; unpaired surrogates become U+FFFD.
std::string utf16leToUtf8(std::string_view bytes, OddByte oddByte);
void appendUtf16le(std::string& out, std::string_view bytes, OddByte oddByte);

// UTF-16 units; unpaired surrogates become U+FFFD.
std::string toUtf8(std::u16string_view units);
// Invalid UTF-8 sequences and NUL characters become U+FFFD: a name read from
// a damaged file must still reach a workbook.
std::u16string toUtf16(std::string_view utf8);

// True when the text holds U+FFFD, i.e. some bytes did not decode.
bool hasReplacementCharacter(std::string_view utf8);

}  // namespace ql::text
