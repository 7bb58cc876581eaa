#include "platform/files/OutputFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <system_error>
#include <utility>
#include <vector>

namespace ql::files {

namespace fs = std::filesystem;

namespace {

struct Identity {
    std::uint64_t device, inode;
    bool operator==(const Identity&) const = default;
};

// A list rather than a set: a file opened twice is registered twice and stays
// registered until both let go.
std::mutex registryMutex;
std::vector<Identity>& registry() {
    static std::vector<Identity> inputs;
    return inputs;
}

bool registered(const Identity& id) {
    const std::lock_guard<std::mutex> lock(registryMutex);
    const auto& inputs = registry();
    return std::find(inputs.begin(), inputs.end(), id) != inputs.end();
}

bool isInput(const struct stat& st) {
    return registered({static_cast<std::uint64_t>(st.st_dev), static_cast<std::uint64_t>(st.st_ino)});
}

[[noreturn]] void permissionDenied() {
    throw RuntimeError(runtime_errors::PermissionDenied, "Permission denied");
}

[[noreturn]] void accessError() { throw RuntimeError(runtime_errors::PathFileAccess, "Path/File access error"); }

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

}  // namespace

ProtectedInput::ProtectedInput(std::uint64_t device, std::uint64_t inode)
    : device_(device), inode_(inode), registered_(true) {
    const std::lock_guard<std::mutex> lock(registryMutex);
    registry().push_back({device, inode});
}

ProtectedInput ProtectedInput::ofDescriptor(int fd) {
    struct stat st {};
    if (fd < 0 || ::fstat(fd, &st) != 0) return {};
    return ProtectedInput(static_cast<std::uint64_t>(st.st_dev), static_cast<std::uint64_t>(st.st_ino));
}

ProtectedInput ProtectedInput::ofPath(const fs::path& path) {
    struct stat st {};
    if (path.empty() || ::stat(path.c_str(), &st) != 0 || S_ISDIR(st.st_mode)) return {};
    return ProtectedInput(static_cast<std::uint64_t>(st.st_dev), static_cast<std::uint64_t>(st.st_ino));
}

ProtectedInput::~ProtectedInput() {
    if (!registered_) return;
    const std::lock_guard<std::mutex> lock(registryMutex);
    auto& inputs = registry();
    const auto it = std::find(inputs.begin(), inputs.end(), Identity{device_, inode_});
    if (it != inputs.end()) inputs.erase(it);
}

ProtectedInput::ProtectedInput(ProtectedInput&& other) noexcept
    : device_(other.device_), inode_(other.inode_), registered_(std::exchange(other.registered_, false)) {}

ProtectedInput& ProtectedInput::operator=(ProtectedInput&& other) noexcept {
    if (this != &other) {
        ProtectedInput old(std::move(*this));
        device_ = other.device_;
        inode_ = other.inode_;
        registered_ = std::exchange(other.registered_, false);
    }
    return *this;
}

bool isProtectedInput(const fs::path& path) {
    struct stat st {};
    return !path.empty() && ::stat(path.c_str(), &st) == 0 && isInput(st);
}

void refuseInput(const fs::path& path) {
    if (isProtectedInput(path)) permissionDenied();
}

OutputFile::OutputFile(const fs::path& path, WriteMode mode) {
    refuseInput(path);
    // Opened without truncation and checked on the descriptor itself, so that
    // a name swapped in between the check and the open cannot slip through.
    // Non-blocking, so that a named pipe nobody reads cannot hang the open.
    const int flags =
        O_WRONLY | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | (mode == WriteMode::Append ? O_APPEND : 0);
    fd_ = ::open(path.c_str(), flags, 0666);
    if (fd_ < 0) {
        const int err = errno;
        if (err == EISDIR) accessError();
        throw fileOpenError(err);
    }
    struct stat st {};
    if (::fstat(fd_, &st) != 0 || isInput(st) || !S_ISREG(st.st_mode)) {
        const bool input = isInput(st);
        ::close(std::exchange(fd_, -1));
        if (input) permissionDenied();
        // A pipe or device is not a file the program can finish (the XML
        // rewrite reads it back): refuse it as Windows refuses a device name.
        accessError();
    }
    if (::fcntl(fd_, F_SETFL, mode == WriteMode::Append ? O_APPEND : 0) != 0 ||
        (mode == WriteMode::Replace && ::ftruncate(fd_, 0) != 0)) {
        ::close(std::exchange(fd_, -1));
        accessError();
    }
}

OutputFile::~OutputFile() {
    if (fd_ >= 0) ::close(fd_);
}

void OutputFile::write(std::string_view bytes) {
    if (fd_ < 0 || !writeAll(fd_, bytes)) accessError();
}

void OutputFile::close() {
    if (fd_ < 0) return;
    const int fd = std::exchange(fd_, -1);
    if (::close(fd) != 0) accessError();
}

void writeFile(const fs::path& path, std::string_view bytes, WriteMode mode) {
    OutputFile file(path, mode);
    file.write(bytes);
    file.close();
}

void replaceContents(const fs::path& path, std::string_view bytes) {
    std::error_code ec;
    // Through a symbolic link to the file it names, so the link stays a link.
    fs::path target = fs::is_symlink(path, ec) ? fs::canonical(path, ec) : path;
    if (ec) target = path;
    refuseInput(target);
    struct stat existing {};
    const bool exists = ::stat(target.c_str(), &existing) == 0;
    // A file without any write permission bit is read-only as the owner
    // meant it, even to root, who could write it anyway.
    if (exists && (!S_ISREG(existing.st_mode) || (existing.st_mode & 0222) == 0 ||
                   ::access(target.c_str(), W_OK) != 0))
        permissionDenied();

    fs::path scratch = target;
    scratch += ".XXXXXX";
    std::string pattern = scratch.string();
    const int fd = ::mkostemp(pattern.data(), O_CLOEXEC);
    if (fd < 0) throw fileOpenError(errno);
    const bool written = writeAll(fd, bytes) &&
                         ::fchmod(fd, exists ? (existing.st_mode & 07777) : 0644) == 0 && ::fsync(fd) == 0;
    if (::close(fd) != 0 || !written || ::rename(pattern.c_str(), target.c_str()) != 0) {
        ::unlink(pattern.c_str());
        accessError();
    }
}

void replaceFile(const fs::path& from, const fs::path& to) {
    refuseInput(from);
    refuseInput(to);
    std::error_code error;
    fs::rename(from, to, error);
    if (!error) return;
    if (error != std::errc::cross_device_link) throw fileOpenError(error.value());
    // rename() cannot cross file systems; the scratch folder may be elsewhere.
    fs::copy_file(from, to, fs::copy_options::overwrite_existing, error);
    if (error) accessError();
    fs::remove(from, error);
}

void removeFile(const fs::path& path) {
    refuseInput(path);
    std::error_code error;
    fs::remove(path, error);
    if (error && error != std::errc::no_such_file_or_directory) throw fileOpenError(error.value());
}

}  // namespace ql::files
