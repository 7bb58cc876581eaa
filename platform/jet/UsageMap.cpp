#include "platform/jet/UsageMap.h"

#include "platform/jet/DataPage.h"

namespace ql::jet::detail {

namespace {
constexpr std::uint8_t kMapInline = 0;
constexpr std::uint8_t kMapReference = 1;
constexpr std::size_t kMapPageHeader = 4;

// A page the map owns but the file does not hold: the file was cut short
// (or the map is damaged). Ending the walk quietly there would hand out a
// table with rows missing and no word about it.
[[noreturn]] void beyondEnd(std::uint64_t page, std::uint64_t pageCount) {
    truncated("a usage map marks page " + std::to_string(page) + ", beyond the end of the file (" +
              std::to_string(pageCount) + " pages)");
}
}  // namespace

UsageMap::UsageMap(const Context& context, std::uint32_t pointer) : context_(&context) {
    Page holder;
    const ByteSpan row = rowByPointer(context, pointer, &holder, "usage map");
    const std::uint8_t kind = u8(row, 0, "usage map kind");
    if (kind == kMapInline) {
        start_ = u32(row, 1, "usage map start page");
        if (row.size() > 5) bitmap_.assign(row.begin() + 5, row.end());
    } else if (kind == kMapReference) {
        inline_ = false;
        for (std::size_t off = 1; off + 4 <= row.size(); off += 4) mapPages_.push_back(u32(row, off));
    } else {
        damaged("usage map at page " + std::to_string(pointer >> 8) + " row " + std::to_string(pointer & 0xFF) +
                " has unknown kind " + std::to_string(kind));
    }
}

void UsageMap::rewind() {
    ended_ = false;
    mapIndex_ = 0;
    bit_ = 0;
    current_ = Page();
}

std::optional<std::uint32_t> UsageMap::next() {
    if (ended_) return std::nullopt;
    const std::uint64_t pageCount = context_->pages->pageCount();
    if (inline_) {
        while (bit_ < bitmap_.size() * 8ull) {
            const std::uint64_t b = bit_++;
            if (!(bitmap_[b / 8] & (1u << (b % 8)))) continue;
            const std::uint64_t page = start_ + b;
            if (page >= pageCount) {
                ended_ = true;
                beyondEnd(page, pageCount);
            }
            return static_cast<std::uint32_t>(page);
        }
        return std::nullopt;
    }
    const std::uint64_t perPage = (context_->pages->pageSize() - kMapPageHeader) * 8ull;
    while (mapIndex_ < mapPages_.size()) {
        if (mapPages_[mapIndex_] == 0 || mapIndex_ * perPage >= pageCount) {
            ++mapIndex_;
            bit_ = 0;
            current_ = Page();
            continue;
        }
        if (current_.bytes().empty()) {
            current_ = context_->pages->page(mapPages_[mapIndex_]);
            if (current_.type() != kPageUsageMap)
                damaged("usage map page " + std::to_string(mapPages_[mapIndex_]) + " has page type " +
                        std::to_string(current_.type()));
        }
        const ByteSpan bits = current_.bytes().subspan(kMapPageHeader);
        while (bit_ < perPage) {
            const std::uint64_t b = bit_++;
            if (!(bits[b / 8] & (1u << (b % 8)))) continue;
            const std::uint64_t page = mapIndex_ * perPage + b;
            if (page >= pageCount) {
                ended_ = true;
                beyondEnd(page, pageCount);
            }
            return static_cast<std::uint32_t>(page);
        }
        ++mapIndex_;
        bit_ = 0;
        current_ = Page();
    }
    return std::nullopt;
}

}  // namespace ql::jet::detail
