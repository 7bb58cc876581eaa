#include "platform/vba/AccessStorageTree.h"

#include "platform/vba/VbaError.h"

namespace ql::vba {
namespace {

constexpr std::string_view kRootName = "MSysAccessStorage_ROOT";
constexpr std::int32_t kTypeStorage = 1;
constexpr std::int32_t kTypeStream = 2;

}  // namespace

AccessStorageTree::AccessStorageTree(std::vector<AccessStorageRow> rows) : rows_(std::move(rows)) {
    bool haveRoot = false;
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        const auto& row = rows_[i];
        if (row.name == kRootName) {
            if (haveRoot) throw VbaError(VbaErrorKind::Corrupt, "MSysAccessStorage has two root rows");
            haveRoot = true;
            root_ = i;
        }
        // The root and scratch rows are their own parents; keeping them out
        // of the child lists keeps every walk finite.
        if (row.id != row.parentId) byParent_.emplace(row.parentId, i);
    }
    if (!haveRoot) throw VbaError(VbaErrorKind::Missing, "MSysAccessStorage has no root row");
    for (const auto& [parent, index] : byParent_) {
        auto [first, last] = byParent_.equal_range(parent);
        for (auto it = first; it != last; ++it)
            if (it->second != index && sameEntryName(rows_[it->second].name, rows_[index].name))
                throw VbaError(VbaErrorKind::Corrupt, "MSysAccessStorage node " + std::to_string(parent) +
                                                          " holds two entries named " + rows_[index].name);
    }
}

const AccessStorageRow* AccessStorageTree::child(std::int32_t parent, std::string_view name) const {
    auto [first, last] = byParent_.equal_range(parent);
    for (auto it = first; it != last; ++it)
        if (sameEntryName(rows_[it->second].name, name)) return &rows_[it->second];
    return nullptr;
}

const AccessStorageRow* AccessStorageTree::find(const StoragePath& path) const {
    const AccessStorageRow* node = &rows_[root_];
    for (const auto& name : path) {
        if (node->type != kTypeStorage && node != &rows_[root_]) return nullptr;
        node = child(node->id, name);
        if (!node) return nullptr;
    }
    return node;
}

std::vector<StorageEntry> AccessStorageTree::children(const StoragePath& path) const {
    const AccessStorageRow* node = find(path);
    if (!node || node->type != kTypeStorage)
        throw VbaError(VbaErrorKind::Missing, "storage " + describePath(path) + " not found");
    std::vector<StorageEntry> out;
    auto [first, last] = byParent_.equal_range(node->id);
    for (auto it = first; it != last; ++it)
        out.push_back({rows_[it->second].name, rows_[it->second].type == kTypeStorage});
    return out;
}

std::string AccessStorageTree::readStream(const StoragePath& path) const {
    const AccessStorageRow* node = find(path);
    if (!node || node->type != kTypeStream)
        throw VbaError(VbaErrorKind::Missing, "stream " + describePath(path) + " not found");
    return node->lv.value_or(std::string());
}

}  // namespace ql::vba
