#pragma once
// Text as stored to UTF-8: Jet 4 stores UCS-2 (optionally "compressed" to
// one byte per character), Jet 3 stores the bytes of the creator's ANSI code
// page. Undecodable input becomes U+FFFD; decoding never fails.
#include <cstdint>
#include <memory>
#include <string>

#include "platform/jet/Bytes.h"

namespace ql::jet::detail {

void appendUtf8(std::string& out, char32_t c);
// UCS-2LE (with surrogate pairs) to UTF-8; an odd trailing byte is dropped.
void appendUtf16le(std::string& out, ByteSpan bytes);

class TextCodec {
public:
    TextCodec(bool jet4, std::uint16_t codePage);
    ~TextCodec();
    TextCodec(const TextCodec&) = delete;
    TextCodec& operator=(const TextCodec&) = delete;

    std::uint16_t codePage() const { return codePage_; }
    // A Text or Memo value (Jet 4: the FF FE compressed form is recognised).
    std::string decodeText(ByteSpan bytes) const;
    // An object or column name (Jet 4: plain UCS-2LE).
    std::string decodeName(ByteSpan bytes) const;
    // Bytes of the code page (Jet 3 text, whatever the version).
    std::string decodeCodePage(ByteSpan bytes) const;

private:
    bool jet4_;
    std::uint16_t codePage_;
    // Single-byte code pages: one UTF-8 sequence per byte, built once.
    bool singleByte_ = false;
    std::string table_[256];
    struct Iconv;
    std::unique_ptr<Iconv> iconv_;  // multi-byte code pages (932, 936 ...)
};

}  // namespace ql::jet::detail
