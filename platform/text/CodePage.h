#pragma once
// Text in a Windows ANSI code page to UTF-8: Jet 3 stores all its text this
// way, and a VBA project its module sources. iconv does the decoding. A byte
// the code page does not define becomes U+FFFD; decoding never fails.
#include <memory>
#include <string>
#include <string_view>

namespace ql::text {

// Windows Latin 1, the code page of almost every file: what text in a code
// page this system cannot decode (or code page 0) is read as.
inline constexpr int kFallbackCodePage = 1252;

class CodePageDecoder {
public:
    explicit CodePageDecoder(int codePage);
    // The code page the text is actually read in (the fallback when the one
    // asked for is unknown here).
    int codePage() const;
    // Safe to call from several threads at once.
    std::string decode(std::string_view bytes) const;

    struct Tables;

private:
    // Shared by every decoder of the same code page in the process:
    // iconv_open loads a conversion module and iconv_close unloads it, and a
    // run that opens many databases spent more time doing that than reading.
    std::shared_ptr<const Tables> tables_;
};

// True when this system can decode the code page.
bool codePageSupported(int codePage);

// Decodes with the process's shared decoder for the code page.
std::string decodeCodePage(std::string_view bytes, int codePage);

}  // namespace ql::text
