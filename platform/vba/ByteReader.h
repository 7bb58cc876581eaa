#pragma once
// Little-endian reads from a byte string, each checked against its end.
#include "platform/vba/VbaError.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace ql::vba::detail {

inline bool fits(std::string_view data, std::size_t offset, std::size_t length) {
    return offset <= data.size() && length <= data.size() - offset;
}

inline void require(std::string_view data, std::size_t offset, std::size_t length,
                    const char* what) {
    if (!fits(data, offset, length))
        throw VbaError(VbaErrorKind::Corrupt, std::string(what) + " runs past the end of its data (offset " +
                                                  std::to_string(offset) + ", " + std::to_string(length) +
                                                  " bytes, " + std::to_string(data.size()) + " available)");
}

inline std::uint8_t u8(std::string_view data, std::size_t offset, const char* what) {
    require(data, offset, 1, what);
    return static_cast<std::uint8_t>(data[offset]);
}

inline std::uint16_t u16(std::string_view data, std::size_t offset, const char* what) {
    require(data, offset, 2, what);
    return static_cast<std::uint16_t>(static_cast<std::uint8_t>(data[offset]) |
                                      (static_cast<std::uint8_t>(data[offset + 1]) << 8));
}

inline std::uint32_t u32(std::string_view data, std::size_t offset, const char* what) {
    require(data, offset, 4, what);
    std::uint32_t v = 0;
    for (int i = 3; i >= 0; --i) v = (v << 8) | static_cast<std::uint8_t>(data[offset + i]);
    return v;
}

}  // namespace ql::vba::detail
