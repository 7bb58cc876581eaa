#pragma once
// A read-only tree of storages and streams, the shape of a compound file.
// The VBA project is read through this view whether it came from a real
// compound-file image or from rows of a system table.
#include <string>
#include <string_view>
#include <vector>

namespace ql::vba {

using StoragePath = std::vector<std::string>;  // entry names from the root, UTF-8

struct StorageEntry {
    std::string name;  // UTF-8
    bool isStorage = false;
};

class Storage {
public:
    virtual ~Storage() = default;

    // Entries of the storage at path (empty path: the root), in no
    // particular order. Throws VbaError(Missing) when path names no storage.
    virtual std::vector<StorageEntry> children(const StoragePath& path) const = 0;

    // Whole content of the stream at path. Throws VbaError(Missing) when
    // there is no such stream, Corrupt or TooLarge when it cannot be read.
    virtual std::string readStream(const StoragePath& path) const = 0;

    // True when path names a stream.
    bool hasStream(const StoragePath& path) const;
};

// Entry names compare as compound files compare them: without regard to
// case. Only ASCII letters are folded; every real entry name of a VBA
// project is ASCII, and module names are matched elsewhere.
bool sameEntryName(std::string_view a, std::string_view b);

std::string describePath(const StoragePath& path);  // "VBA/VBAProject/VBA/dir"

}  // namespace ql::vba
