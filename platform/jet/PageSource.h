#pragma once
// The only reader of the file's bytes. Pages come straight from a read-only
// memory map; when the database is encrypted they are decrypted into a small
// cache, so memory stays bounded whatever the file's size.
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/files/OutputFiles.h"
#include "platform/jet/Bytes.h"

namespace ql::jet::detail {

// A page's bytes, kept alive as long as this object lives.
class Page {
public:
    Page() = default;
    Page(std::uint32_t number, ByteSpan bytes, std::shared_ptr<const void> keep)
        : number_(number), bytes_(bytes), keep_(std::move(keep)) {}
    std::uint32_t number() const { return number_; }
    ByteSpan bytes() const { return bytes_; }
    std::uint8_t type() const { return bytes_.empty() ? 0 : bytes_[0]; }

private:
    std::uint32_t number_ = 0;
    ByteSpan bytes_;
    std::shared_ptr<const void> keep_;
};

// A file opened for reading, with what the system says about it; closed
// when this object goes.
class OpenedFile {
public:
    // Throws Error with kind FileMissing (also for a folder), NoPermission or Io.
    explicit OpenedFile(const std::filesystem::path& path);
    ~OpenedFile();
    OpenedFile(const OpenedFile&) = delete;
    OpenedFile& operator=(const OpenedFile&) = delete;

    const std::filesystem::path& path() const { return path_; }
    int descriptor() const { return fd_; }
    std::uint64_t device() const { return device_; }
    std::uint64_t inode() const { return inode_; }
    std::uint64_t size() const { return size_; }
    std::int64_t modifiedNanoseconds() const { return modified_; }  // since the epoch

private:
    std::filesystem::path path_;
    int fd_ = -1;
    std::uint64_t device_ = 0, inode_ = 0, size_ = 0;
    std::int64_t modified_ = 0;
};

class PageSource {
public:
    // Maps the file read-only and without any lock, so Access or another
    // reader may have it open at the same time.
    static std::shared_ptr<PageSource> mapFile(const OpenedFile& file);
    // Reads from a buffer held in memory (tests build damaged files this way).
    static std::shared_ptr<PageSource> fromBuffer(std::vector<std::uint8_t> bytes);

    ~PageSource();
    PageSource(const PageSource&) = delete;
    PageSource& operator=(const PageSource&) = delete;

    std::uint64_t fileSize() const { return size_; }
    ByteSpan fileBytes() const { return {base_, static_cast<std::size_t>(size_)}; }

    // Fixes the page size and the page key once the header has been read;
    // pageCount() and page() work only after this.
    void configure(std::uint32_t pageSize, std::uint32_t databaseKey, std::vector<std::uint8_t> headerPage);

    std::uint32_t pageSize() const { return pageSize_; }
    std::uint32_t pageCount() const { return pageCount_; }
    bool encrypted() const { return key_ != 0; }

    // Page n, decrypted. Throws Truncated when n lies past the end of the file,
    // and FileChanged once the file has shrunk under the map. Safe to call from
    // several threads at once.
    Page page(std::uint32_t n) const;

    // Throws FileChanged when the file shrank since it was mapped: the bytes a
    // read got since then may be zeros that stood in for the lost pages.
    void checkUnchanged() const;

private:
    PageSource() = default;

    const std::uint8_t* base_ = nullptr;
    std::uint64_t size_ = 0;
    void* map_ = nullptr;               // munmap on destruction when set
    // Set by the bus-error handler when a page of the map was gone.
    std::atomic<bool> shrunk_{false};
    std::vector<std::uint8_t> buffer_;  // backing store of fromBuffer()
    std::shared_ptr<const void> keepAlive_;
    // The mapped file may not be written by the program while it is read.
    files::ProtectedInput input_;

    std::uint32_t pageSize_ = 0;
    std::uint32_t pageCount_ = 0;
    std::uint32_t key_ = 0;
    std::shared_ptr<std::vector<std::uint8_t>> header_;  // page 0 with its mask removed

    struct Slot {
        std::uint32_t number = UINT32_MAX;
        std::shared_ptr<std::vector<std::uint8_t>> data;
    };
    mutable std::mutex cacheMutex_;  // one open file may serve several threads
    mutable std::vector<Slot> cache_;
};

}  // namespace ql::jet::detail
