// Sets of pages owned by a table, an index or a long-value column, and their on-disk usage maps.
#pragma once

#include "tools/jetwriter/Bytes.h"
#include "tools/jetwriter/PageFile.h"

#include <cstdint>

namespace ql::jetwriter {

// A bitmap over page numbers, starting at the first page added: a table of a million pages costs
// 128 KB, whatever its row count.
class PageSet {
public:
    void add(std::uint32_t page);
    bool contains(std::uint32_t page) const;
    bool empty() const { return count_ == 0; }
    std::uint32_t count() const { return count_; }
    std::uint32_t first() const { return first_; }
    std::uint32_t last() const { return last_; }

private:
    std::uint32_t base_ = 0; // multiple of 8
    Bytes bits_;
    std::uint32_t count_ = 0;
    std::uint32_t first_ = 0;
    std::uint32_t last_ = 0;
};

// Pages a map page of a reference usage map covers.
inline constexpr std::uint32_t kPagesPerMapPage = (kPageSize - 4) * 8;

// Builds the usage-map row for `pages`: the inline form (start page + bitmap of `inlineBytes`
// bytes) when the pages span few enough, otherwise the reference form, whose bitmap pages are
// allocated and written here.
Bytes encodeUsageMap(const PageSet& pages, PageFile& file, std::uint32_t inlineBytes = 64);

} // namespace ql::jetwriter
