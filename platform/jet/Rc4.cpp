#include "platform/jet/Rc4.h"

#include <utility>

namespace ql::jet::detail {

Rc4::Rc4(std::span<const std::uint8_t> key) {
    for (int k = 0; k < 256; ++k) s_[k] = static_cast<std::uint8_t>(k);
    std::uint8_t j = 0;
    for (int k = 0; k < 256; ++k) {
        j = static_cast<std::uint8_t>(j + s_[k] + key[k % key.size()]);
        std::swap(s_[k], s_[j]);
    }
}

void Rc4::apply(std::span<std::uint8_t> data) {
    for (auto& byte : data) {
        i_ = static_cast<std::uint8_t>(i_ + 1);
        j_ = static_cast<std::uint8_t>(j_ + s_[i_]);
        std::swap(s_[i_], s_[j_]);
        byte ^= s_[static_cast<std::uint8_t>(s_[i_] + s_[j_])];
    }
}

}  // namespace ql::jet::detail
