#include "tools/jetwriter/Tdef.h"

#include <stdexcept>

namespace ql::jetwriter {

namespace {
// Constants Access writes in places whose meaning nobody has pinned down; copied so that our
// files look like its own.
constexpr std::uint32_t kTdefMagic = 0x0659;
constexpr std::uint32_t kRealIndexMagic = 0x0783;
constexpr std::uint16_t kGeneralSort = 1033;
constexpr std::size_t kColumnBlock = 25;
} // namespace

Bytes buildTdefStream(const TdefContent& c)
{
    const TableLayout& L = *c.layout;
    Bytes s;
    s.reserve(kPageSize);
    put8(s, 0x02);
    put8(s, 0x01);
    put16(s, 0); // free space, set below
    put32(s, 0); // next page, set when written
    put32(s, 0); // stream length, set below
    put32(s, kTdefMagic);
    put32(s, c.rowCount);
    put32(s, c.nextAutoNumber);
    put32(s, 1);
    putZeros(s, 0x28 - 0x1C);
    put8(s, L.system ? 'S' : 'N');
    put16(s, static_cast<std::uint16_t>(L.columns.size()));
    put16(s, L.varCount);
    put16(s, static_cast<std::uint16_t>(L.columns.size()));
    put32(s, static_cast<std::uint32_t>(c.logicalIndexes.size()));
    put32(s, static_cast<std::uint32_t>(c.realIndexes.size()));
    put32(s, c.ownedMap);
    put32(s, c.freeMap);
    // Access stores the table's row count, then the index's distinct keys.
    for (const RealIndexInfo& r : c.realIndexes) {
        put32(s, c.rowCount);
        put32(s, r.distinctKeys);
        put32(s, 0);
    }
    for (const ColumnLayout& col : L.columns) {
        const std::size_t at = s.size();
        put8(s, static_cast<std::uint8_t>(col.def.type));
        put32(s, kTdefMagic);
        put16(s, col.number);
        put16(s, col.varIndex);
        put16(s, L.system ? 0 : static_cast<std::uint16_t>(col.number + 1));
        if (col.def.type == ColumnType::Decimal) {
            put8(s, col.def.precision);
            put8(s, col.def.scale);
        } else {
            put16(s, kGeneralSort);
        }
        put8(s, 0);
        put8(s, 0); // sort version: General (legacy)
        put8(s, col.flags);
        put8(s, col.extraFlags);
        put32(s, 0);
        put16(s, col.fixedOffset);
        put16(s, col.length);
        if (s.size() - at != kColumnBlock) throw std::logic_error("column block size");
    }
    for (const std::string& n : *c.columnNames) putName(s, n);
    for (const RealIndexInfo& r : c.realIndexes) {
        put32(s, kRealIndexMagic);
        for (std::size_t k = 0; k < 10; ++k) {
            if (k < r.columns.size()) {
                put16(s, r.columns[k].first);
                put8(s, r.columns[k].second ? 0x01 : 0x02);
            } else {
                put16(s, 0xFFFF);
                put8(s, 0);
            }
        }
        put32(s, r.usageMap);
        put32(s, r.rootPage);
        put32(s, 0);
        put8(s, r.flags);
        putZeros(s, 5);
    }
    for (std::size_t i = 0; i < c.logicalIndexes.size(); ++i) {
        const LogicalIndexInfo& li = c.logicalIndexes[i];
        put32(s, kTdefMagic);
        put32(s, static_cast<std::uint32_t>(i));
        put32(s, li.realIndex);
        put8(s, 0);           // not part of a relationship
        put32(s, 0xFFFFFFFFu); // no index on the other side
        put32(s, 0);
        put8(s, 0);
        put8(s, 0);
        put8(s, li.primaryKey ? 1 : 0);
        put32(s, 0);
    }
    for (const LogicalIndexInfo& li : c.logicalIndexes) putName(s, li.name);
    for (const LongValueMaps& m : c.longValueMaps) {
        put16(s, m.column);
        put32(s, m.owned);
        put32(s, m.free);
    }
    put16(s, 0xFFFF);
    set32(s.data() + 8, static_cast<std::uint32_t>(s.size()));
    const std::size_t used = std::min<std::size_t>(s.size() + 8, kPageSize);
    set16(s.data() + 2, static_cast<std::uint16_t>(kPageSize - used));
    return s;
}

std::uint32_t tdefPagesFor(std::size_t streamSize)
{
    if (streamSize <= kPageSize) return 1;
    return 1 + static_cast<std::uint32_t>((streamSize - kPageSize + (kPageSize - 8) - 1) / (kPageSize - 8));
}

void writeTdef(PageFile& file, const Bytes& stream, const std::vector<std::uint32_t>& pages)
{
    if (pages.size() != tdefPagesFor(stream.size())) throw std::logic_error("table definition page count");
    std::size_t at = 0;
    for (std::size_t i = 0; i < pages.size(); ++i) {
        Bytes page;
        if (i == 0) {
            const std::size_t n = std::min<std::size_t>(stream.size(), kPageSize);
            page.assign(stream.begin(), stream.begin() + static_cast<std::ptrdiff_t>(n));
            at = n;
        } else {
            const std::size_t n = std::min<std::size_t>(stream.size() - at, kPageSize - 8);
            page = {0x02, 0x01, 0, 0, 0, 0, 0, 0};
            page.insert(page.end(), stream.begin() + static_cast<std::ptrdiff_t>(at),
                        stream.begin() + static_cast<std::ptrdiff_t>(at + n));
            set16(page.data() + 2, static_cast<std::uint16_t>(kPageSize - page.size()));
            at += n;
        }
        set32(page.data() + 4, i + 1 < pages.size() ? pages[i + 1] : 0);
        file.write(pages[i], page);
    }
}

} // namespace ql::jetwriter
