#pragma once
// Little-endian numbers read from and written into a file's bytes, for tests
// that damage a real file at a known offset. Works on std::string and on
// std::vector<std::uint8_t> alike.
#include <cstddef>
#include <cstdint>

namespace ql::test {

template <class Bytes>
std::uint16_t get16(const Bytes& b, std::size_t off) {
    return static_cast<std::uint16_t>(static_cast<std::uint8_t>(b[off]) | static_cast<std::uint8_t>(b[off + 1]) << 8);
}

template <class Bytes>
std::uint32_t get32(const Bytes& b, std::size_t off) {
    return get16(b, off) | static_cast<std::uint32_t>(get16(b, off + 2)) << 16;
}

template <class Bytes>
void put16(Bytes& b, std::size_t off, std::uint16_t v) {
    for (int i = 0; i < 2; ++i) b[off + i] = static_cast<typename Bytes::value_type>((v >> (8 * i)) & 0xFF);
}

template <class Bytes>
void put32(Bytes& b, std::size_t off, std::uint32_t v) {
    for (int i = 0; i < 4; ++i) b[off + i] = static_cast<typename Bytes::value_type>((v >> (8 * i)) & 0xFF);
}

}  // namespace ql::test
