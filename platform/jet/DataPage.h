#pragma once
// Rows on a data page: the offset table at the page's head, rows packed from
// the end of the page towards it.
#include <cstdint>

#include "platform/jet/Context.h"

namespace ql::jet::detail {

inline constexpr std::uint8_t kPageData = 0x01;
inline constexpr std::uint8_t kPageTableDef = 0x02;
inline constexpr std::uint8_t kPageUsageMap = 0x05;

inline constexpr std::uint16_t kRowDeleted = 0x8000;
inline constexpr std::uint16_t kRowOverflow = 0x4000;
inline constexpr std::uint16_t kRowOffsetMask = 0x1FFF;

struct RowSlot {
    std::uint16_t entry = 0;  // the raw offset-table entry
    ByteSpan bytes;           // empty for deleted rows
    bool deleted() const { return entry & kRowDeleted; }
    bool overflow() const { return !deleted() && (entry & kRowOverflow); }
};

// Number of rows on the page, checked against the page size.
std::uint16_t rowCount(const Page& page, const Format& format);
// Row r of the page (r < rowCount); a live row's bounds are checked.
RowSlot rowSlot(const Page& page, const Format& format, std::uint16_t r);
// The bytes of the row a row pointer (page << 8 | row) names, whatever its
// flags; used for long values and overflow targets. Keeps its page in *holder.
ByteSpan rowByPointer(const Context& context, std::uint32_t pointer, Page* holder, const char* what,
                      std::uint16_t* entry = nullptr);

}  // namespace ql::jet::detail
