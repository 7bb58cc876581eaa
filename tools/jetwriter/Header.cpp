#include "tools/jetwriter/Header.h"

#include "tools/jetwriter/PageFile.h"

#include <array>
#include <cmath>

namespace ql::jetwriter {

namespace {
constexpr std::size_t kMaskedAt = 0x18;
constexpr std::size_t kMaskedLen = 128;
} // namespace

Bytes headerMask(std::size_t n)
{
    // RC4 by hand: a dozen lines, and the one fixed key needs no crypto library.
    const std::array<std::uint8_t, 4> key{0xC7, 0xDA, 0x39, 0x6B};
    std::array<std::uint8_t, 256> S{};
    for (int i = 0; i < 256; ++i) S[i] = static_cast<std::uint8_t>(i);
    for (int i = 0, j = 0; i < 256; ++i) {
        j = (j + S[i] + key[i % 4]) & 0xFF;
        std::swap(S[i], S[j]);
    }
    Bytes out(n);
    for (std::size_t k = 0, i = 0, j = 0; k < n; ++k) {
        i = (i + 1) & 0xFF;
        j = (j + S[i]) & 0xFF;
        std::swap(S[i], S[j]);
        out[k] = S[(S[i] + S[j]) & 0xFF];
    }
    return out;
}

Bytes buildHeaderPage(double created)
{
    Bytes p(kPageSize, 0);
    p[0x01] = 0x01;
    static const char sig[] = "Standard Jet DB";
    std::memcpy(p.data() + 0x04, sig, sizeof sig - 1);
    set32(p.data() + 0x14, 1); // Jet 4
    // Bytes Access writes at the start of the masked area on every Jet 4 file we have seen.
    const std::uint8_t lead[] = {0x00, 0x01, 0x00, 0x00, 0x01, 0x01, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00,
                                 0x03, 0x00, 0x00, 0x00, 0x04, 0x00, 0x00, 0x00, 0x05, 0x00, 0x00, 0x00};
    std::memcpy(p.data() + 0x18, lead, sizeof lead);
    set16(p.data() + 0x3C, 1252);
    set32(p.data() + 0x3E, 0); // no database key: pages are not encrypted
    // No password: the 40-byte area holds only the mask made from the creation date.
    const auto day = static_cast<std::uint32_t>(static_cast<std::int32_t>(created));
    for (std::size_t i = 0; i < 40; i += 4) set32(p.data() + 0x42 + i, day);
    set16(p.data() + 0x6E, 1033); // General
    p[0x71] = 0;                  // legacy General sort version
    std::uint64_t bits;
    std::memcpy(&bits, &created, 8);
    for (int i = 0; i < 8; ++i) p[0x72 + i] = static_cast<std::uint8_t>(bits >> (8 * i));
    const Bytes mask = headerMask(kMaskedLen);
    for (std::size_t i = 0; i < kMaskedLen; ++i) p[kMaskedAt + i] ^= mask[i];
    set32(p.data() + 0x98, 0x0654);
    std::memcpy(p.data() + 0x9C, "4.0", 4);
    return p;
}

} // namespace ql::jetwriter
