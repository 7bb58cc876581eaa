#include "open/FileChecks.h"

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

#include "platform/RuntimeError.h"

namespace ql::open {

std::string dialogInitialFolder(const std::string& path) {
    // The folder is the longest beginning of the path, shorter than the
    // path itself, that holds no separator: on Windows the drive ("C:").
    // An absolute Linux path has no such beginning ("/" is itself the
    // separator), so the folder stays empty there; the preset name carries
    // the whole path and the dialog opens in the file's own folder anyway.
    // A relative "dir/name" gives "dir", a bare name loses its last character.
    for (std::size_t n = path.size(); n >= 2; --n) {
        const std::string head = path.substr(0, n - 1);
        if (head.find('/') == std::string::npos) return head;
    }
    return {};
}

bool fileExists(const std::string& path) {
    // The existence test finds ordinary files only: no folders, and nothing
    // hidden, which on Linux is a name that begins with a dot.
    const std::string name = std::filesystem::path(path).filename().string();
    if (name.empty() || name.front() == '.') return false;
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

bool hasReadOnlyAttribute(const std::string& path) {
    // The read-only attribute belongs to the file, not to whoever asks: a
    // file nobody may write (no write bit for owner, group or others) has
    // it, as a file system shared with Windows shows it. Asking access(W_OK)
    // instead would answer for the current user only, and always yes to root.
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) throw fileOpenError(errno);
    return (info.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
}

}  // namespace ql::open
