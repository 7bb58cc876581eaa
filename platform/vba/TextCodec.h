#pragma once
// Text decoding for VBA projects: Windows ANSI code pages (the project's code
// page) and UTF-16LE names, both to UTF-8. Decoding never fails: a byte that
// does not belong to the code page becomes U+FFFD.
#include <string>
#include <string_view>

namespace ql::vba {

inline constexpr int kFallbackCodePage = 1252;

// True when iconv on this system can decode the Windows code page.
bool codePageSupported(int codePage);

// Decodes bytes in a Windows code page. Code page 0 or one iconv cannot
// decode is read as windows-1252.
std::string decodeCodePage(std::string_view bytes, int codePage);

// Decodes UTF-16LE; an odd trailing byte or an unpaired surrogate becomes U+FFFD.
std::string utf16leToUtf8(std::string_view bytes);

// True when text holds U+FFFD, i.e. some bytes did not decode.
bool hasReplacementCharacter(std::string_view utf8);

}  // namespace ql::vba
