#pragma once
// A usage map: the set of pages a table (or index, or long-value column)
// owns, stored either inline in one row or as a list of bitmap pages.
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/jet/Context.h"

namespace ql::jet::detail {

class UsageMap {
public:
    UsageMap(const Context& context, std::uint32_t pointer);

    // The next page of the map in ascending order, or nothing at the end.
    // A marked page beyond the end of the file throws Truncated once; the
    // map then ends.
    std::optional<std::uint32_t> next();
    void rewind();

private:
    const Context* context_;
    bool inline_ = true;
    std::uint32_t start_ = 0;                // inline: first page of the bitmap
    std::vector<std::uint8_t> bitmap_;       // inline: a copy of the bitmap
    std::vector<std::uint32_t> mapPages_;    // reference: bitmap pages (0 = none)
    std::size_t mapIndex_ = 0;
    bool ended_ = false;                     // a page beyond the end was met
    std::uint64_t bit_ = 0;
    Page current_;                           // reference: the bitmap page being read
};

}  // namespace ql::jet::detail
