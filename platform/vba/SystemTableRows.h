#pragma once
// The rows of the system tables that hold a VBA project, as plain data. The
// database layer fills these from the file; nothing here reads Jet pages.
// Long binary values are the whole value as bytes; a NULL value is nullopt.
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ql::vba {

// MSysAccessStorage (Access 2002/2003 files): one row per node of the
// project's storage tree.
struct AccessStorageRow {
    std::int32_t id = 0;
    std::int32_t parentId = 0;
    std::string name;  // UTF-8
    std::int32_t type = 0;  // 1 storage, 2 stream
    std::optional<std::string> lv;  // stream content; NULL is a zero-length stream
    bool operator==(const AccessStorageRow&) const = default;
};

// MSysAccessObjects (Access 2000 files, and copies inside later-opened
// Access 97 files): row 0 is a header, rows 1..N are equal slices of a
// compound-file image.
struct AccessObjectsRow {
    std::int32_t id = 0;
    std::string data;
    bool operator==(const AccessObjectsRow&) const = default;
};

// MSysModules2 (Access 97 files): one row per module and a few project rows.
struct Modules2Row {
    std::string name;  // UTF-8
    std::int32_t type = 0;
    std::int32_t version = 0;
    std::optional<std::string> module;  // the `Module` long binary column
    bool operator==(const Modules2Row&) const = default;
};

// What the database layer supplies. Each call reads one table when the
// project needs it; nullopt means the table does not exist in the file.
class SystemTableSource {
public:
    virtual ~SystemTableSource() = default;
    virtual int jetVersion() const = 0;        // 3 or 4
    virtual int databaseCodePage() const = 0;  // from the file header; 0 when unknown
    virtual std::optional<std::vector<Modules2Row>> modules2Rows() = 0;
    virtual std::optional<std::vector<AccessObjectsRow>> accessObjectsRows() = 0;
    virtual std::optional<std::vector<AccessStorageRow>> accessStorageRows() = 0;
};

}  // namespace ql::vba
