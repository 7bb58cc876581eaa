#include "platform/jet/PageSource.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "platform/jet/Rc4.h"

namespace ql::jet::detail {

namespace {
constexpr std::size_t kCacheSlots = 64;

[[noreturn]] void openFailed(const std::filesystem::path& path, int err) {
    const std::string reason = std::strerror(err);
    switch (err) {
        case ENOENT:
        case ENOTDIR:
            throw Error(ErrorKind::FileMissing, "cannot open " + path.string() + ": " + reason);
        case EACCES:
        case EPERM:
            throw Error(ErrorKind::NoPermission, "cannot open " + path.string() + ": " + reason);
        default:
            throw Error(ErrorKind::Io, "cannot open " + path.string() + ": " + reason);
    }
}
// A file that shrinks while it is mapped makes every read of its lost pages
// raise SIGBUS, which would end the program. The handler below puts a page of
// zeros in place of each lost page, so that the interrupted read finishes,
// and marks the source; the next page(), or checkUnchanged() when a layer
// ends an operation, then fails with FileChanged instead of using what the
// zeros gave. A bus error anywhere else goes to the handler that was there
// before, or ends the program as it would have.
struct MappedRange {
    std::atomic<const std::uint8_t*> base{nullptr};
    std::atomic<std::size_t> size{0};
    std::atomic<std::atomic<bool>*> shrunk{nullptr};
};
constexpr std::size_t kMaxMappings = 256;
std::array<MappedRange, kMaxMappings> mappings;
struct sigaction previousBusHandler;

void onBusError(int signal, siginfo_t* info, void* context) {
    const auto* address = static_cast<const std::uint8_t*>(info->si_addr);
    for (MappedRange& range : mappings) {
        const std::uint8_t* base = range.base.load(std::memory_order_acquire);
        if (!base || address < base || address >= base + range.size.load(std::memory_order_acquire)) continue;
        const auto pageSize = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
        void* lost = reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(address) & ~(pageSize - 1));
        if (::mmap(lost, pageSize, PROT_READ, MAP_FIXED | MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) == MAP_FAILED) break;
        if (std::atomic<bool>* flag = range.shrunk.load(std::memory_order_acquire)) flag->store(true);
        return;
    }
    if (previousBusHandler.sa_flags & SA_SIGINFO) {
        if (previousBusHandler.sa_sigaction) return previousBusHandler.sa_sigaction(signal, info, context);
    } else if (previousBusHandler.sa_handler != SIG_DFL && previousBusHandler.sa_handler != SIG_IGN) {
        return previousBusHandler.sa_handler(signal);
    }
    // Returning re-runs the faulting access, which the default action ends.
    ::signal(SIGBUS, SIG_DFL);
}

void installBusHandler() {
    static std::once_flag installed;
    std::call_once(installed, [] {
        struct sigaction action {};
        action.sa_sigaction = onBusError;
        action.sa_flags = SA_SIGINFO | SA_NODEFER;
        sigemptyset(&action.sa_mask);
        ::sigaction(SIGBUS, &action, &previousBusHandler);
    });
}

// Registers a map with the handler; a map that finds no free slot is still
// read, only without the protection (a program holds a few files at once).
MappedRange* watchMapping(const std::uint8_t* base, std::size_t size, std::atomic<bool>* shrunk) {
    installBusHandler();
    static std::mutex slotsMutex;
    const std::lock_guard<std::mutex> lock(slotsMutex);
    for (MappedRange& range : mappings) {
        if (range.base.load(std::memory_order_acquire)) continue;
        range.size.store(size, std::memory_order_release);
        range.shrunk.store(shrunk, std::memory_order_release);
        range.base.store(base, std::memory_order_release);
        return &range;
    }
    return nullptr;
}

void unwatchMapping(const std::uint8_t* base) {
    for (MappedRange& range : mappings)
        if (range.base.load(std::memory_order_acquire) == base) range.base.store(nullptr, std::memory_order_release);
}

}  // namespace

OpenedFile::OpenedFile(const std::filesystem::path& path) : path_(path) {
    fd_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd_ < 0) openFailed(path, errno);
    struct stat st {};
    if (::fstat(fd_, &st) != 0) {
        const int err = errno;
        ::close(fd_);
        openFailed(path, err);
    }
    if (S_ISDIR(st.st_mode)) {
        ::close(fd_);
        throw Error(ErrorKind::FileMissing, path.string() + " is a folder, not a file");
    }
    device_ = static_cast<std::uint64_t>(st.st_dev);
    inode_ = static_cast<std::uint64_t>(st.st_ino);
    size_ = static_cast<std::uint64_t>(st.st_size);
    modified_ = static_cast<std::int64_t>(st.st_mtim.tv_sec) * 1'000'000'000 + st.st_mtim.tv_nsec;
}

OpenedFile::~OpenedFile() {
    if (fd_ >= 0) ::close(fd_);
}

std::shared_ptr<PageSource> PageSource::mapFile(const OpenedFile& file) {
    std::shared_ptr<PageSource> source(new PageSource());
    source->size_ = file.size();
    if (source->size_ > 0) {
        void* map = ::mmap(nullptr, source->size_, PROT_READ, MAP_SHARED, file.descriptor(), 0);
        if (map == MAP_FAILED) openFailed(file.path(), errno);
        source->map_ = map;
        source->base_ = static_cast<const std::uint8_t*>(map);
        watchMapping(source->base_, static_cast<std::size_t>(source->size_), &source->shrunk_);
    }
    source->input_ = files::ProtectedInput::ofDescriptor(file.descriptor());
    source->keepAlive_ = std::shared_ptr<const void>(source.get(), [](const void*) {});
    return source;
}

std::shared_ptr<PageSource> PageSource::fromBuffer(std::vector<std::uint8_t> bytes) {
    std::shared_ptr<PageSource> source(new PageSource());
    source->buffer_ = std::move(bytes);
    source->base_ = source->buffer_.data();
    source->size_ = source->buffer_.size();
    source->keepAlive_ = std::shared_ptr<const void>(source.get(), [](const void*) {});
    return source;
}

PageSource::~PageSource() {
    if (!map_) return;
    unwatchMapping(base_);
    ::munmap(map_, size_);
}

void PageSource::checkUnchanged() const {
    if (shrunk_.load(std::memory_order_relaxed)) throw FileChanged();
}

void PageSource::configure(std::uint32_t pageSize, std::uint32_t databaseKey, std::vector<std::uint8_t> headerPage) {
    pageSize_ = pageSize;
    pageCount_ = static_cast<std::uint32_t>(std::min<std::uint64_t>(size_ / pageSize, UINT32_MAX));
    key_ = databaseKey;
    header_ = std::make_shared<std::vector<std::uint8_t>>(std::move(headerPage));
    if (key_ != 0) cache_.resize(kCacheSlots);
}

Page PageSource::page(std::uint32_t n) const {
    checkUnchanged();
    if (n >= pageCount_)
        truncated("page " + std::to_string(n) + " lies beyond the end of the file (" + std::to_string(pageCount_) +
                  " pages of " + std::to_string(pageSize_) + " bytes)");
    if (n == 0) return Page(0, ByteSpan(header_->data(), header_->size()), header_);
    const std::uint8_t* start = base_ + static_cast<std::uint64_t>(n) * pageSize_;
    if (key_ == 0) return Page(n, ByteSpan(start, pageSize_), keepAlive_);

    const std::lock_guard<std::mutex> lock(cacheMutex_);
    Slot& slot = cache_[n % kCacheSlots];
    if (slot.number != n || !slot.data) {
        // A caller may still hold the old page; give the slot a fresh buffer then.
        if (!slot.data || slot.data.use_count() > 1) slot.data = std::make_shared<std::vector<std::uint8_t>>(pageSize_);
        std::memcpy(slot.data->data(), start, pageSize_);
        const std::uint32_t pageKey = key_ ^ n;
        const std::uint8_t key[4] = {static_cast<std::uint8_t>(pageKey), static_cast<std::uint8_t>(pageKey >> 8),
                                     static_cast<std::uint8_t>(pageKey >> 16), static_cast<std::uint8_t>(pageKey >> 24)};
        Rc4(key).apply(*slot.data);
        slot.number = n;
    }
    return Page(n, ByteSpan(slot.data->data(), slot.data->size()), slot.data);
}

}  // namespace ql::jet::detail
