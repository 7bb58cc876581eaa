#pragma once
// Text as stored to UTF-8: Jet 4 stores UCS-2 (optionally "compressed" to
// one byte per character), Jet 3 stores the bytes of the creator's ANSI code
// page. The general conversions are the text library's; what is Jet's own
// here is the compressed form and which of them a value is stored in.
// Undecodable input becomes U+FFFD; decoding never fails.
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/jet/Bytes.h"
#include "platform/text/CodePage.h"

namespace ql::jet::detail {

// UCS-2LE (with surrogate pairs) to UTF-8; an odd trailing byte is dropped.
void appendUtf16le(std::string& out, ByteSpan bytes);

class TextCodec {
public:
    TextCodec(bool jet4, std::uint16_t codePage);

    std::uint16_t codePage() const { return static_cast<std::uint16_t>(codePage_.codePage()); }
    // A Text or Memo value (Jet 4: the FF FE compressed form is recognised).
    std::string decodeText(ByteSpan bytes) const;
    // An object or column name (Jet 4: plain UCS-2LE).
    std::string decodeName(ByteSpan bytes) const;
    // Bytes of the code page (Jet 3 text, whatever the version).
    std::string decodeCodePage(ByteSpan bytes) const;

private:
    bool jet4_;
    text::CodePageDecoder codePage_;
};

}  // namespace ql::jet::detail
