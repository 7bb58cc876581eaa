#include "app/DialogFolder.h"

#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>

#include <QDir>

#include <filesystem>

namespace fs = std::filesystem;

namespace ql::app {

namespace {

bool pseudoFileSystem(const std::string& folder) {
    struct statfs info{};
    if (::statfs(folder.c_str(), &info) != 0) return true;
    switch (static_cast<unsigned long>(info.f_type)) {
    case PROC_SUPER_MAGIC:
    case SYSFS_MAGIC:
    case DEVPTS_SUPER_MAGIC:
    case DEBUGFS_MAGIC:
    case SECURITYFS_MAGIC:
    case CGROUP_SUPER_MAGIC:
    case CGROUP2_SUPER_MAGIC:
    case TRACEFS_MAGIC:
    case BPF_FS_MAGIC:
        return true;
    default:
        break;
    }
    // /dev is a devtmpfs, which says tmpfs as /tmp does: it is told apart by
    // being the device folder's own file system.
    struct stat here{}, dev{}, root{};
    if (::stat(folder.c_str(), &here) != 0) return true;
    if (::stat("/dev", &dev) == 0 && ::stat("/", &root) == 0 && dev.st_dev != root.st_dev &&
        here.st_dev == dev.st_dev)
        return true;
    return false;
}

}  // namespace

bool isListableFolder(const std::string& folder) {
    std::error_code error;
    if (folder.empty() || !fs::is_directory(folder, error)) return false;
    return !pseudoFileSystem(folder);
}

DialogStart dialogStart(const std::string& initialFolder, const std::string& fileName) {
    const fs::path preset(fileName);
    const std::string presetFolder = preset.has_parent_path() ? preset.parent_path().string() : std::string();
    if (!presetFolder.empty()) {
        if (isListableFolder(presetFolder)) return {{}, fileName};
        return {QDir::homePath().toStdString(), preset.filename().string()};
    }
    if (initialFolder.empty() || isListableFolder(initialFolder)) return {initialFolder, fileName};
    return {QDir::homePath().toStdString(), fileName};
}

}  // namespace ql::app
