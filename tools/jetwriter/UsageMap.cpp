#include "tools/jetwriter/UsageMap.h"

#include <algorithm>

namespace ql::jetwriter {

void PageSet::add(std::uint32_t page)
{
    if (count_ == 0) {
        base_ = page & ~7u;
        first_ = last_ = page;
    } else if (page < base_) {
        const std::uint32_t newBase = page & ~7u;
        bits_.insert(bits_.begin(), (base_ - newBase) / 8, 0);
        base_ = newBase;
    }
    const std::uint32_t rel = page - base_;
    if (rel / 8 >= bits_.size()) bits_.resize(rel / 8 + 1 + bits_.size() / 2, 0);
    std::uint8_t& byte = bits_[rel / 8];
    const std::uint8_t mask = static_cast<std::uint8_t>(1u << (rel % 8));
    if (byte & mask) return;
    byte |= mask;
    ++count_;
    first_ = std::min(first_, page);
    last_ = std::max(last_, page);
}

bool PageSet::contains(std::uint32_t page) const
{
    if (count_ == 0 || page < base_) return false;
    const std::uint32_t rel = page - base_;
    return rel / 8 < bits_.size() && (bits_[rel / 8] >> (rel % 8)) & 1u;
}

Bytes encodeUsageMap(const PageSet& pages, PageFile& file, std::uint32_t inlineBytes)
{
    Bytes row;
    const std::uint32_t span = pages.empty() ? 0 : pages.last() - pages.first() + 1;
    if (span <= inlineBytes * 8) {
        const std::uint32_t start = pages.empty() ? 0 : pages.first();
        put8(row, 0);
        put32(row, start);
        Bytes bitmap(inlineBytes, 0);
        for (std::uint32_t i = 0; i < span; ++i)
            if (pages.contains(start + i)) bitmap[i / 8] |= static_cast<std::uint8_t>(1u << (i % 8));
        row.insert(row.end(), bitmap.begin(), bitmap.end());
        return row;
    }
    put8(row, 1);
    const std::uint32_t mapPages = pages.last() / kPagesPerMapPage + 1;
    for (std::uint32_t j = 0; j < mapPages; ++j) {
        const std::uint32_t lo = j * kPagesPerMapPage;
        const std::uint32_t hi = lo + kPagesPerMapPage;
        bool any = false;
        for (std::uint32_t p = std::max(lo, pages.first()); p <= std::min(hi - 1, pages.last()) && !any; ++p)
            any = pages.contains(p);
        if (!any) {
            put32(row, 0);
            continue;
        }
        Bytes page;
        put8(page, 0x05);
        put8(page, 0x01);
        put16(page, 0);
        page.resize(kPageSize, 0);
        for (std::uint32_t p = std::max(lo, pages.first()); p <= std::min(hi - 1, pages.last()); ++p) {
            if (pages.contains(p)) {
                const std::uint32_t i = p - lo;
                page[4 + i / 8] |= static_cast<std::uint8_t>(1u << (i % 8));
            }
        }
        const std::uint32_t at = file.allocate();
        file.write(at, page);
        put32(row, at);
    }
    return row;
}

} // namespace ql::jetwriter
