#pragma once
// RC4, used by Jet both to mask the header and to encrypt pages. Written here
// because OpenSSL 3 moved RC4 to its legacy provider, which a Debian system
// need not load; the cipher is twenty lines and has no secret to protect.
#include <cstdint>
#include <span>

namespace ql::jet::detail {

class Rc4 {
public:
    explicit Rc4(std::span<const std::uint8_t> key);
    void apply(std::span<std::uint8_t> data);  // XOR with the keystream, in place

private:
    std::uint8_t s_[256];
    std::uint8_t i_ = 0, j_ = 0;
};

}  // namespace ql::jet::detail
