#include "platform/jet/TextCodec.h"

#include "platform/text/Unicode.h"

namespace ql::jet::detail {

namespace {
std::string_view asChars(ByteSpan bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}
}  // namespace

void appendUtf16le(std::string& out, ByteSpan bytes) {
    text::appendUtf16le(out, asChars(bytes), text::OddByte::Drop);
}

TextCodec::TextCodec(bool jet4, std::uint16_t codePage) : jet4_(jet4), codePage_(codePage ? codePage : 1252) {}

std::string TextCodec::decodeCodePage(ByteSpan bytes) const { return codePage_.decode(asChars(bytes)); }

std::string TextCodec::decodeText(ByteSpan bytes) const {
    if (!jet4_) return decodeCodePage(bytes);
    if (bytes.size() >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE) {
        // Compressed: runs separated by 00 bytes, alternating between one
        // byte per character (U+0000..U+00FF) and plain UCS-2. Access starts
        // an uncompressed run only for characters with no 00 byte, so the
        // separator is found by scanning bytes.
        std::string out;
        out.reserve(bytes.size());
        bool compressed = true;
        std::size_t runStart = 2;
        for (std::size_t i = 2; i <= bytes.size(); ++i) {
            if (i < bytes.size() && bytes[i] != 0) continue;
            ByteSpan run = bytes.subspan(runStart, i - runStart);
            if (compressed)
                for (std::uint8_t b : run) text::appendUtf8(out, b);
            else
                appendUtf16le(out, run);
            compressed = !compressed;
            runStart = i + 1;
        }
        return out;
    }
    std::string out;
    out.reserve(bytes.size() / 2);
    appendUtf16le(out, bytes);
    return out;
}

std::string TextCodec::decodeName(ByteSpan bytes) const {
    if (!jet4_) return decodeCodePage(bytes);
    std::string out;
    appendUtf16le(out, bytes);
    return out;
}

}  // namespace ql::jet::detail
