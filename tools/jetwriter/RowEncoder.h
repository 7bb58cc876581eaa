// Turns cell values into Jet 4 row images, moving long values out to LVAL pages.
#pragma once

#include "tools/jetwriter/Layout.h"
#include "tools/jetwriter/PageFile.h"
#include "tools/jetwriter/RowPage.h"
#include "tools/jetwriter/UsageMap.h"

namespace ql::jetwriter {

// Text as Jet 4 stores it: "FF FE" + one byte per character when `compress` is set and every
// character is in U+0001..U+00FF, UCS-2LE otherwise.
Bytes encodeText(const std::string& utf8, bool compress);
// "{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}" to the 16 stored bytes.
Bytes encodeGuid(const std::string& text);

// Long-value thresholds: up to `inlineMax` bytes stay in the row; up to one LVAL row go to a single
// row; longer values become a chain of rows across pages.
struct LongValuePolicy {
    std::size_t inlineMax = 64;
    std::size_t singleMax = kMaxRowSize;
};

class LongValueWriter {
public:
    LongValueWriter(PageFile& file, LongValuePolicy policy) : file_(file), policy_(policy), page_(kLvalOwner) {}
    // Appends the 12-byte long-value header (and the data, when inline) to `row`.
    void encode(const std::uint8_t* data, std::size_t len, Bytes& row);
    // Writes the partly filled LVAL page.
    void flush();
    const PageSet& pages() const { return pages_; }

private:
    std::uint32_t addRow(const std::uint8_t* data, std::size_t len); // returns a row pointer
    PageFile& file_;
    LongValuePolicy policy_;
    RowPage page_;
    std::uint32_t pageNo_ = 0;
    bool open_ = false;
    PageSet pages_;
};

class RowEncoder {
public:
    RowEncoder(const TableLayout& layout, LongValueWriter& longValues) : layout_(layout), lv_(longValues) {}
    // Replaces `out` with the row image. Throws std::invalid_argument on a value that does not fit
    // its column.
    void encode(const Row& row, Bytes& out);

private:
    const TableLayout& layout_;
    LongValueWriter& lv_;
    Bytes scratch_;
};

} // namespace ql::jetwriter
