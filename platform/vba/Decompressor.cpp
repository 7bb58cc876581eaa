#include "platform/vba/Decompressor.h"

#include "platform/vba/ByteReader.h"

#include <bit>
#include <cstdint>

namespace ql::vba {
namespace {

constexpr std::uint8_t kContainerSignature = 0x01;
constexpr std::uint16_t kChunkSizeMask = 0x0FFF;
constexpr std::uint16_t kChunkSignature = 0x3;  // bits 12..14 of the chunk header
constexpr std::uint16_t kChunkCompressedFlag = 0x8000;
constexpr std::size_t kChunkDecompressedSize = 4096;

[[noreturn]] void corrupt(std::size_t offset, const std::string& what) {
    throw VbaError(VbaErrorKind::Corrupt,
                   "compressed data damaged at byte " + std::to_string(offset) + ": " + what);
}

void append(std::string& out, char c, std::size_t maxOutput) {
    if (out.size() >= maxOutput)
        throw VbaError(VbaErrorKind::TooLarge, "decompressed data exceeds " + std::to_string(maxOutput) +
                                                   " bytes");
    out.push_back(c);
}

}  // namespace

std::string decompressContainer(std::string_view data, std::size_t start, std::size_t maxOutput) {
    if (start >= data.size()) corrupt(start, "container missing");
    if (static_cast<std::uint8_t>(data[start]) != kContainerSignature)
        corrupt(start, "container signature byte is not 0x01");

    std::string out;
    std::size_t p = start + 1;
    while (p < data.size()) {
        if (data.size() - p < 2) corrupt(p, "chunk header cut short");
        const std::uint16_t header = detail::u16(data, p, "chunk header");
        if (((header >> 12) & 0x7) != kChunkSignature) corrupt(p, "chunk signature bits are not 011");
        const std::size_t total = (header & kChunkSizeMask) + 3u;
        if (total > data.size() - p) corrupt(p, "chunk of " + std::to_string(total) + " bytes is cut short");
        const std::size_t end = p + total;
        std::size_t q = p + 2;
        const std::size_t chunkStart = out.size();

        if ((header & kChunkCompressedFlag) == 0) {
            // A raw chunk always carries a full 4096 bytes.
            if (total != kChunkDecompressedSize + 2) corrupt(p, "raw chunk is not 4096 bytes long");
            for (; q < end; ++q) append(out, data[q], maxOutput);
            p = end;
            continue;
        }

        while (q < end) {
            const std::uint8_t flags = static_cast<std::uint8_t>(data[q++]);
            for (int bit = 0; bit < 8 && q < end; ++bit) {
                if (((flags >> bit) & 1) == 0) {
                    append(out, data[q++], maxOutput);
                    continue;
                }
                if (end - q < 2) corrupt(q, "copy token cut short");
                const std::uint16_t token = detail::u16(data, q, "copy token");
                q += 2;
                const std::size_t produced = out.size() - chunkStart;
                if (produced == 0) corrupt(q - 2, "copy token before any literal of its chunk");
                if (produced > kChunkDecompressedSize)
                    corrupt(q - 2, "chunk decompresses to more than 4096 bytes");
                // Offset bits grow with the decompressed position in the chunk.
                const int bitCount = std::max(static_cast<int>(std::bit_width(produced - 1)), 4);
                const std::size_t length = (token & (0xFFFFu >> bitCount)) + 3u;
                const std::size_t offset = (static_cast<std::size_t>(token) >> (16 - bitCount)) + 1u;
                if (offset > produced) corrupt(q - 2, "copy reaches before the start of its chunk");
                for (std::size_t i = 0; i < length; ++i) append(out, out[out.size() - offset], maxOutput);
            }
        }
        p = end;
    }
    return out;
}

std::optional<std::size_t> findSourceContainer(std::string_view stream) {
    static constexpr std::string_view kLiterals = "Attribut";
    for (std::size_t i = 0; i + 12 <= stream.size(); ++i) {
        if (static_cast<std::uint8_t>(stream[i]) != kContainerSignature) continue;
        const auto headerHigh = static_cast<std::uint8_t>(stream[i + 2]);
        if ((headerHigh & 0xF0) != 0xB0) continue;  // compressed flag + chunk signature
        if (stream[i + 3] != '\0') continue;        // flag byte: eight literals follow
        if (stream.substr(i + 4, kLiterals.size()) != kLiterals) continue;
        try {
            decompressContainer(stream, i);
            return i;
        } catch (const VbaError&) {
            // Not a container after all (or a damaged one): keep looking.
        }
    }
    return std::nullopt;
}

}  // namespace ql::vba
