// Little helpers for laying out Jet structures in byte buffers.
#pragma once

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace ql::jetwriter {

using Bytes = std::vector<std::uint8_t>;

inline void put8(Bytes& b, std::uint8_t v) { b.push_back(v); }
inline void put16(Bytes& b, std::uint16_t v)
{
    b.push_back(static_cast<std::uint8_t>(v));
    b.push_back(static_cast<std::uint8_t>(v >> 8));
}
inline void put32(Bytes& b, std::uint32_t v)
{
    for (int i = 0; i < 4; ++i)
        b.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
}
inline void put64(Bytes& b, std::uint64_t v)
{
    for (int i = 0; i < 8; ++i)
        b.push_back(static_cast<std::uint8_t>(v >> (8 * i)));
}
inline void putBytes(Bytes& b, const void* p, std::size_t n)
{
    const auto* c = static_cast<const std::uint8_t*>(p);
    b.insert(b.end(), c, c + n);
}
inline void putZeros(Bytes& b, std::size_t n) { b.insert(b.end(), n, 0); }

inline void set16(std::uint8_t* p, std::uint16_t v)
{
    p[0] = static_cast<std::uint8_t>(v);
    p[1] = static_cast<std::uint8_t>(v >> 8);
}
inline void set32(std::uint8_t* p, std::uint32_t v)
{
    for (int i = 0; i < 4; ++i)
        p[i] = static_cast<std::uint8_t>(v >> (8 * i));
}
inline std::uint16_t get16(const std::uint8_t* p) { return static_cast<std::uint16_t>(p[0] | (p[1] << 8)); }
inline std::uint32_t get32(const std::uint8_t* p)
{
    return std::uint32_t(p[0]) | (std::uint32_t(p[1]) << 8) | (std::uint32_t(p[2]) << 16) |
           (std::uint32_t(p[3]) << 24);
}

// UTF-8 to UTF-16 code units. Written by hand: the writer must not pull Qt or ICU into a small
// tool, and the input is text we generate ourselves (invalid sequences still fail loudly).
std::u16string utf8ToUtf16(std::string_view s);

// Jet 4 names: u16 byte length, then UCS-2LE.
void putName(Bytes& b, std::string_view utf8);

} // namespace ql::jetwriter
