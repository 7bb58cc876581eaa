#pragma once
// Checked little-endian reads over a byte range. Every number the reader
// takes from the file goes through these, so an offset that points outside
// its structure becomes one clear error at the place it was found.
#include <cstdint>
#include <cstring>
#include <span>
#include <string>

#include "platform/jet/Error.h"

namespace ql::jet::detail {

using ByteSpan = std::span<const std::uint8_t>;

[[noreturn]] void damaged(const std::string& what);
[[noreturn]] void truncated(const std::string& what);

inline bool fits(ByteSpan b, std::size_t off, std::size_t len) {
    return off <= b.size() && len <= b.size() - off;
}

inline void need(ByteSpan b, std::size_t off, std::size_t len, const char* what) {
    if (!fits(b, off, len))
        damaged(std::string(what) + ": bytes " + std::to_string(off) + ".." + std::to_string(off + len) +
                " lie outside a structure of " + std::to_string(b.size()) + " bytes");
}

inline std::uint8_t u8(ByteSpan b, std::size_t off, const char* what = "byte") {
    need(b, off, 1, what);
    return b[off];
}
inline std::uint16_t u16(ByteSpan b, std::size_t off, const char* what = "16-bit field") {
    need(b, off, 2, what);
    return static_cast<std::uint16_t>(b[off] | (b[off + 1] << 8));
}
inline std::uint32_t u32(ByteSpan b, std::size_t off, const char* what = "32-bit field") {
    need(b, off, 4, what);
    return static_cast<std::uint32_t>(b[off]) | (static_cast<std::uint32_t>(b[off + 1]) << 8) |
           (static_cast<std::uint32_t>(b[off + 2]) << 16) | (static_cast<std::uint32_t>(b[off + 3]) << 24);
}
inline std::uint64_t u64(ByteSpan b, std::size_t off, const char* what = "64-bit field") {
    need(b, off, 8, what);
    std::uint64_t v = 0;
    for (int i = 7; i >= 0; --i) v = (v << 8) | b[off + i];
    return v;
}
inline double f64(ByteSpan b, std::size_t off, const char* what = "double") {
    std::uint64_t bits = u64(b, off, what);
    double d;
    std::memcpy(&d, &bits, 8);
    return d;
}
inline float f32(ByteSpan b, std::size_t off, const char* what = "single") {
    std::uint32_t bits = u32(b, off, what);
    float f;
    std::memcpy(&f, &bits, 4);
    return f;
}
inline ByteSpan sub(ByteSpan b, std::size_t off, std::size_t len, const char* what) {
    need(b, off, len, what);
    return b.subspan(off, len);
}

}  // namespace ql::jet::detail
