#pragma once
// The public face of the Jet reader: open a file read-only, read its header
// facts and catalogue, table definitions, rows and property blobs. Nothing
// here writes to the file or locks it.
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/jet/Catalogue.h"
#include "platform/jet/Error.h"
#include "platform/jet/Properties.h"
#include "platform/jet/TableDef.h"
#include "platform/jet/Value.h"

namespace ql::jet {

namespace detail {
struct Context;
class PageSource;
}

enum class FileFormat { Jet3, Jet4 };

struct HeaderInfo {
    FileFormat format = FileFormat::Jet4;
    bool workgroup = false;           // "Jet System DB" rather than "Standard Jet DB"
    std::uint32_t version = 0;        // the version byte: 0 Jet 3, 1 Jet 4
    std::uint32_t pageSize = 0;
    std::uint32_t pageCount = 0;      // whole pages in the file
    std::uint16_t codePage = 0;
    std::uint16_t sortOrder = 0;      // LCID; 1033 = General
    std::uint8_t sortVersion = 0;     // Jet 4 only; 0 = General legacy
    std::uint32_t databaseKey = 0;    // non-zero: every page after the header is encrypted
    bool passwordSet = false;
    std::string password;             // the database password as UTF-8, padding removed
    std::optional<double> creationDate;  // Jet 4 only, days since 1899-12-30
    bool encrypted() const { return databaseKey != 0; }
};

// One row of MSysObjects.
struct CatalogEntry {
    std::int32_t id = 0;
    std::int32_t parentId = 0;
    std::string name;
    std::int16_t type = 0;
    std::int32_t flags = 0;
    std::optional<DateTime> dateCreate, dateUpdate;
    Binary owner;                      // SID
    std::string database;              // linked tables: source path
    std::string connect;               // linked tables: connect string
    std::string foreignName;           // linked tables: remote name
    // Every column as stored, by column name (Lv, LvProp, LvModule, LvExtra,
    // RmtInfoShort, RmtInfoLong ... as their raw values; long ones lazily).
    std::vector<std::pair<std::string, Value>> raw;

    std::uint32_t tdefPage() const { return static_cast<std::uint32_t>(id) & 0xFFFFFF; }
    const Value* field(const std::string& column) const;  // case-insensitive; nullptr when absent
    // The LvProp blob's bytes (empty when null).
    Binary lvProp(std::size_t cap = LongValue::kDefaultCap) const;
};

// A forward scan over a table's rows in page order.
class TableCursor {
public:
    TableCursor(TableCursor&&) noexcept;
    TableCursor& operator=(TableCursor&&) noexcept;
    ~TableCursor();

    // Moves to the next live row. False at the end. Throws Error(Damaged)
    // for a row that cannot be decoded; the cursor has then moved past it,
    // so calling next() again continues with the following row. Errors of
    // the table's own structures (its usage map) are thrown the same way;
    // a caller that wants to give up on the table stops calling.
    bool next();
    // The current row's values, one per column of table().columns.
    const std::vector<Value>& values() const;
    const Value& operator[](std::size_t column) const { return values()[column]; }
    const TableDef& table() const;
    // Where the current row lives (page << 8 | row), for messages.
    std::uint32_t rowPointer() const;

private:
    friend class Database;
    struct State;
    explicit TableCursor(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

struct OpenOptions {
    // Reads Jet 3 text with this code page instead of the header's (some
    // files were written on a system whose code page the header misstates).
    std::uint16_t codePageOverride = 0;
};

// Copies of a Database are cheap and share the open file. A Database may be
// used from several threads at once; each cursor from one at a time.
class Database {
public:
    // Opens a file read-only. Throws Error with kind FileMissing,
    // NoPermission, NotJet, Unsupported, Truncated or Damaged; the message
    // says why. While a handle to the same file is alive and the file has
    // not changed since (device, inode, size and modification time), the
    // new handle shares that one's state instead of reading it again.
    static Database open(const std::filesystem::path& path, const OpenOptions& options = {});
    // The same over bytes in memory.
    static Database openBuffer(std::vector<std::uint8_t> bytes, const OpenOptions& options = {});

    const HeaderInfo& header() const;

    // Throws FileChanged when the file shrank under the reader since it was
    // opened; a layer calls it when it ends an operation, so that nothing read
    // across the change is taken for the file's contents.
    void checkUnchanged() const;

    // MSysObjects, read when the file was opened, in stored order.
    const std::vector<CatalogEntry>& catalogue() const;
    // Rows of MSysObjects that could not be decoded (skipped, described).
    const std::vector<std::string>& catalogueProblems() const;
    // A local table (type 1, user or system) by name, without regard to case
    // as Jet compares names; nullptr when there is none.
    const CatalogEntry* findTable(const std::string& name) const;
    // Any catalogue object of the given type by name (case-insensitive).
    const CatalogEntry* findObject(const std::string& name, std::int16_t type) const;
    // The object with this Id (a table's Id & 0xFFFFFF is its TDEF page).
    const CatalogEntry* findById(std::int32_t id) const;

    // A table definition, read when asked. Throws NotFound (by name) or
    // Damaged/Truncated.
    TableDef tableDef(const std::string& name) const;
    TableDef tableDef(std::uint32_t tdefPage, const std::string& name = {}) const;

    // Rows in the table's data pages, counted from the pages' offset tables
    // without decoding a row (the stored count is stale in some files).
    std::uint64_t liveRecordCount(const TableDef& table) const;

    TableCursor cursor(const TableDef& table) const;

    // Decodes an LvProp blob (see Properties.h).
    PropertyBlob properties(const Binary& blob) const;

    // Text in this file's text encoding (Jet 4 UCS-2, Jet 3 code page).
    std::string decodeText(const Binary& bytes) const;

private:
    struct Impl;
    explicit Database(std::shared_ptr<Impl> impl);
    // What open() and openBuffer() share once the bytes are in a page source.
    static Database fromPages(std::shared_ptr<detail::PageSource> source, const OpenOptions& options);
    void readCatalogue();
    std::shared_ptr<Impl> impl_;
};

}  // namespace ql::jet
