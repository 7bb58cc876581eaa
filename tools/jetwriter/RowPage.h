// A data page (type 01) being filled with rows from its end towards its header.
#pragma once

#include "tools/jetwriter/Bytes.h"
#include "tools/jetwriter/PageFile.h"

#include <array>
#include <cstdint>

namespace ql::jetwriter {

inline constexpr std::uint32_t kLvalOwner = 0x4C41564Cu; // "LVAL" read as a u32
inline constexpr std::size_t kDataPageHeader = 14;        // up to and including the row count
// A row pointer keeps the row number in one byte.
inline constexpr std::size_t kMaxRowsPerPage = 255;
// The largest row a page can hold: the page less its header and one offset-table entry.
inline constexpr std::size_t kMaxRowSize = kPageSize - kDataPageHeader - 2;

class RowPage {
public:
    explicit RowPage(std::uint32_t owner) : owner_(owner) { reset(); }

    bool fits(std::size_t len) const { return rows_ < kMaxRowsPerPage && len + 2 <= freeSpace(); }
    // Returns the row number; the caller checks fits() first.
    std::uint8_t add(const std::uint8_t* data, std::size_t len);
    std::size_t rowCount() const { return rows_; }
    bool empty() const { return rows_ == 0; }
    std::size_t freeSpace() const { return end_ - (kDataPageHeader + 2 * rows_); }
    // The finished page image (header filled in).
    const std::array<std::uint8_t, kPageSize>& image();
    void reset();

private:
    std::array<std::uint8_t, kPageSize> buf_{};
    std::uint32_t owner_;
    std::size_t rows_ = 0;
    std::size_t end_ = kPageSize;
};

} // namespace ql::jetwriter
