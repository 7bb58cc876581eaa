#include "tools/jetwriter/RowPage.h"

#include <stdexcept>

namespace ql::jetwriter {

void RowPage::reset()
{
    buf_.fill(0);
    rows_ = 0;
    end_ = kPageSize;
}

std::uint8_t RowPage::add(const std::uint8_t* data, std::size_t len)
{
    if (!fits(len)) throw std::logic_error("row does not fit the page");
    end_ -= len;
    std::memcpy(buf_.data() + end_, data, len);
    set16(buf_.data() + kDataPageHeader + 2 * rows_, static_cast<std::uint16_t>(end_));
    return static_cast<std::uint8_t>(rows_++);
}

const std::array<std::uint8_t, kPageSize>& RowPage::image()
{
    buf_[0] = 0x01;
    buf_[1] = 0x01;
    set16(buf_.data() + 2, static_cast<std::uint16_t>(freeSpace()));
    set32(buf_.data() + 4, owner_);
    set32(buf_.data() + 8, 0);
    set16(buf_.data() + 12, static_cast<std::uint16_t>(rows_));
    return buf_;
}

} // namespace ql::jetwriter
