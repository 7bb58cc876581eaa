#include "platform/jet/DataPage.h"

namespace ql::jet::detail {

std::uint16_t rowCount(const Page& page, const Format& format) {
    const ByteSpan b = page.bytes();
    const std::uint16_t count = u16(b, format.dataRowCountOffset, "row count");
    if (format.dataRowCountOffset + 2u + 2u * count > b.size())
        damaged("page " + std::to_string(page.number()) + " claims " + std::to_string(count) +
                " rows, more than its offset table can hold");
    return count;
}

RowSlot rowSlot(const Page& page, const Format& format, std::uint16_t r) {
    const ByteSpan b = page.bytes();
    const std::size_t table = format.dataRowCountOffset + 2;
    RowSlot slot;
    slot.entry = u16(b, table + 2u * r, "row offset");
    if (slot.entry & kRowDeleted) return slot;
    const std::size_t start = slot.entry & kRowOffsetMask;
    const std::size_t end = r == 0 ? b.size() : (u16(b, table + 2u * (r - 1), "row offset") & kRowOffsetMask);
    const std::size_t tableEnd = table + 2u * rowCount(page, format);
    if (start < tableEnd || start > end || end > b.size())
        damaged("row " + std::to_string(r) + " of page " + std::to_string(page.number()) + " spans bytes " +
                std::to_string(start) + ".." + std::to_string(end) + ", outside the page's row area");
    slot.bytes = b.subspan(start, end - start);
    return slot;
}

ByteSpan rowByPointer(const Context& context, std::uint32_t pointer, Page* holder, const char* what,
                      std::uint16_t* entry) {
    const std::uint32_t pageNumber = pointer >> 8;
    const std::uint16_t r = pointer & 0xFF;
    *holder = context.pages->page(pageNumber);
    if (holder->type() != kPageData)
        damaged(std::string(what) + " points to page " + std::to_string(pageNumber) + ", which is not a data page");
    if (r >= rowCount(*holder, *context.format))
        damaged(std::string(what) + " points to row " + std::to_string(r) + " of page " + std::to_string(pageNumber) +
                ", which has fewer rows");
    const ByteSpan b = holder->bytes();
    const std::size_t table = context.format->dataRowCountOffset + 2;
    const std::uint16_t raw = u16(b, table + 2u * r);
    if (entry) *entry = raw;
    const std::size_t start = raw & kRowOffsetMask;
    const std::size_t end = r == 0 ? b.size() : (u16(b, table + 2u * (r - 1)) & kRowOffsetMask);
    if (start > end || end > b.size() || start < table)
        damaged(std::string(what) + ": row " + std::to_string(r) + " of page " + std::to_string(pageNumber) +
                " has impossible bounds " + std::to_string(start) + ".." + std::to_string(end));
    return b.subspan(start, end - start);
}

}  // namespace ql::jet::detail
