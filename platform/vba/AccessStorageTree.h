#pragma once
// The storage tree that Access 2002/2003 flattens into MSysAccessStorage rows,
// seen as a Storage.
#include "platform/vba/Storage.h"
#include "platform/vba/SystemTableRows.h"

#include <map>
#include <memory>

namespace ql::vba {

class AccessStorageTree final : public Storage {
public:
    // Throws VbaError(Missing) when there is no root row, Corrupt when a
    // storage holds two entries of the same name.
    explicit AccessStorageTree(std::vector<AccessStorageRow> rows);

    std::vector<StorageEntry> children(const StoragePath& path) const override;
    std::string readStream(const StoragePath& path) const override;

private:
    const AccessStorageRow* find(const StoragePath& path) const;
    const AccessStorageRow* child(std::int32_t parent, std::string_view name) const;

    std::vector<AccessStorageRow> rows_;
    std::multimap<std::int32_t, std::size_t> byParent_;  // parent id -> row index
    std::size_t root_ = 0;
};

}  // namespace ql::vba
