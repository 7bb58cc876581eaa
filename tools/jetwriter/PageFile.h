// The output file as an array of 4096-byte pages. Pages are handed out in file order and may be
// written in any order, so a table definition can be reserved before its rows and filled in last.
#pragma once

#include "tools/jetwriter/Bytes.h"

#include <cstdint>
#include <string>

namespace ql::jetwriter {

inline constexpr std::uint32_t kPageSize = 4096;
inline constexpr std::uint32_t kMaxPages = (1u << 31) / kPageSize;

class PageFile {
public:
    explicit PageFile(const std::string& path);
    ~PageFile();
    PageFile(const PageFile&) = delete;
    PageFile& operator=(const PageFile&) = delete;

    // Reserves the next page number; the page reads as zeros until written.
    std::uint32_t allocate();
    std::uint32_t pageCount() const { return pageCount_; }
    // `data` is at most one page; the rest of the page is zero-filled.
    void write(std::uint32_t page, const std::uint8_t* data, std::size_t size);
    void write(std::uint32_t page, const Bytes& data) { write(page, data.data(), data.size()); }
    // Extends the file to every allocated page and closes it.
    void close();

private:
    int fd_ = -1;
    std::string path_;
    std::uint32_t pageCount_ = 0;
};

} // namespace ql::jetwriter
