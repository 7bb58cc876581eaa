#include "tools/jetwriter/PageFile.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace ql::jetwriter {

namespace {
[[noreturn]] void fail(const std::string& what, const std::string& path)
{
    throw std::runtime_error(what + " " + path + ": " + std::strerror(errno));
}
} // namespace

PageFile::PageFile(const std::string& path) : path_(path)
{
    fd_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd_ < 0) fail("cannot create", path);
}

PageFile::~PageFile()
{
    if (fd_ >= 0) ::close(fd_);
}

std::uint32_t PageFile::allocate()
{
    // Jet refuses files over 2 GB (and row pointers hold 24-bit page numbers anyway).
    if (pageCount_ >= kMaxPages) throw std::length_error("database would exceed 2 GB, Jet's size limit");
    return pageCount_++;
}

void PageFile::write(std::uint32_t page, const std::uint8_t* data, std::size_t size)
{
    if (page >= pageCount_) throw std::logic_error("write to a page that was not allocated");
    if (size > kPageSize) throw std::logic_error("page image larger than a page");
    std::uint8_t buf[kPageSize];
    std::memcpy(buf, data, size);
    std::memset(buf + size, 0, kPageSize - size);
    const off_t at = static_cast<off_t>(page) * kPageSize;
    std::size_t done = 0;
    while (done < kPageSize) {
        const ssize_t n = ::pwrite(fd_, buf + done, kPageSize - done, at + static_cast<off_t>(done));
        if (n < 0) {
            if (errno == EINTR) continue;
            fail("cannot write", path_);
        }
        done += static_cast<std::size_t>(n);
    }
}

void PageFile::close()
{
    if (fd_ < 0) return;
    if (::ftruncate(fd_, static_cast<off_t>(pageCount_) * kPageSize) != 0) fail("cannot size", path_);
    if (::close(fd_) != 0) {
        fd_ = -1;
        fail("cannot close", path_);
    }
    fd_ = -1;
}

} // namespace ql::jetwriter
