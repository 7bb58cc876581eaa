// Writes a Jet 4 (Access 2000 format) database for tests and benchmarks.
//
//   Database db("out.mdb", {});
//   TableWriter& t = db.createTable(def);
//   t.addRow(row); ...                       // streamed: pages are written as they fill
//   db.addQuery(selectQuery(...));
//   db.addRelationship(rel);
//   db.close();                              // catalogue, system tables, header
//
// Tables are written one after another or interleaved; each is finished when the database
// closes (or by TableWriter::finish). The file is never valid before close().
#pragma once

#include "tools/jetwriter/IndexPages.h"
#include "tools/jetwriter/IndexSorter.h"
#include "tools/jetwriter/Layout.h"
#include "tools/jetwriter/PageFile.h"
#include "tools/jetwriter/RowEncoder.h"
#include "tools/jetwriter/RowPage.h"
#include "tools/jetwriter/Schema.h"
#include "tools/jetwriter/Tdef.h"
#include "tools/jetwriter/UsageMap.h"

#include <memory>
#include <set>
#include <optional>
#include <string>
#include <vector>

namespace ql::jetwriter {

struct DatabaseOptions {
    // Days since 1899-12-30; also the creation and update time of every catalogue object.
    double created = 36892.5; // 2001-01-01 12:00
    LongValuePolicy longValues;
    // Bitmap bytes of an inline usage map; a table whose pages span more uses a reference map.
    std::uint32_t inlineMapBytes = 64;
};

class Database;

class TableWriter {
public:
    void addRow(const Row& row);
    std::uint64_t rowCount() const { return rows_; }
    std::uint32_t tdefPage() const { return tdefPages_.front(); }
    const std::string& name() const { return def_.name; }
    const TableLayout& layout() const { return layout_; }
    // Writes the last pages, the usage maps and the definition. Later rows are refused.
    void finish();
    bool finished() const { return finished_; }

    TableWriter(Database& db, TableDef def, bool system, std::optional<std::uint32_t> tdefPage);

private:
    struct BuiltIndex {
        std::vector<std::pair<std::uint16_t, bool>> columns;
        std::uint8_t flags = 0;
        std::unique_ptr<IndexPageWriter> pages;
        // A one-column ascending Long primary key: rows must come in key order, and the pages
        // are written as they fill.
        std::optional<std::uint16_t> longKeyColumn;
        // Any other index of sortable column types: keys are gathered and sorted at the end.
        // An index with a text or other column keeps an empty root page (right only while the
        // table is empty).
        std::unique_ptr<IndexSorter> sorter;
        bool exact = false; // its pages list every row
        std::uint64_t distinctKeys = 0;
    };
    void flushDataPage();
    TdefContent content(std::vector<LogicalIndexInfo>& logical) const;

    Database& db_;
    TableDef def_;
    TableLayout layout_;
    std::vector<std::string> names_;
    std::vector<std::uint32_t> tdefPages_;
    LongValueWriter longValues_;
    RowEncoder encoder_;
    RowPage page_;
    std::uint32_t pageNo_ = 0;
    bool pageOpen_ = false;
    PageSet dataPages_;
    std::vector<BuiltIndex> indexes_;
    Bytes rowBuf_;
    std::vector<Bytes> keys_;
    std::vector<Bytes> sortedKeys_;
    std::uint64_t rows_ = 0;
    std::int64_t maxAuto_ = 0;
    bool finished_ = false;
    std::int32_t catalogFlags_ = 0;
    friend class Database;
};

enum class QueryKind { Select, Crosstab, Delete, Update, Append, MakeTable, DataDefinition, PassThrough, Union };

// One MSysQueries row (attributes 0, 1 and 255 are added by the writer).
struct QueryRow {
    std::uint8_t attribute = 0;
    std::optional<std::int16_t> flag;
    std::string name1, name2, expression;
};

struct QueryDef {
    std::string name;
    QueryKind kind = QueryKind::Select;
    std::string target;          // make-table and append: the table written to
    std::string typeExpression;  // DDL and pass-through: the SQL text
    std::vector<QueryRow> rows;
};

// SELECT columns FROM table [WHERE where] [ORDER BY orderBy]
QueryDef selectQuery(std::string name, std::string table, std::vector<std::string> columns,
                     std::string where = {}, std::string orderBy = {});
// first UNION [ALL] second; each part is a full SELECT statement.
QueryDef unionQuery(std::string name, std::string first, std::string second, bool all);
// DELETE FROM table WHERE where
QueryDef deleteQuery(std::string name, std::string table, std::string where);
// UPDATE table SET column = value WHERE where
QueryDef updateQuery(std::string name, std::string table, std::string column, std::string value,
                     std::string where);

struct RelationshipDef {
    std::string name;
    std::string primaryTable;   // the "one" side
    std::string foreignTable;   // the "many" side
    std::vector<std::pair<std::string, std::string>> columns; // (primary column, foreign column)
    std::uint32_t grbit = 0x2;  // not enforced: no relationship indexes are needed
};

class Database {
public:
    Database(const std::string& path, DatabaseOptions options);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    TableWriter& createTable(const TableDef& def);
    void addQuery(const QueryDef& query);
    void addRelationship(const RelationshipDef& rel);
    // A document (form, report, macro, module, data access page) in its container, with no body.
    enum class Container { Forms, Reports, Scripts, Modules, DataAccessPages };
    void addDocument(Container container, const std::string& name);
    void close();

    // For the parts of the writer that lay out pages.
    PageFile& file() { return file_; }
    const DatabaseOptions& options() const { return options_; }
    // Stores a usage-map row on a map page; returns its row pointer.
    std::uint32_t storeMapRow(const Bytes& row);

private:
    friend class TableWriter;
    struct CatalogEntry {
        std::int32_t id;
        std::int32_t parentId;
        std::string name;
        std::int16_t type;
        std::int32_t flags;
        Bytes owner;
        Bytes lvProp;
    };
    void tableFinished(const TableWriter& t);
    std::int32_t nextDocumentId() { return documentId_++; }
    void writeHeader();
    void writeGlobalMap();
    void writeSystemTables();

    PageFile file_;
    DatabaseOptions options_;
    std::vector<std::unique_ptr<TableWriter>> tables_;
    std::vector<CatalogEntry> catalog_;
    std::vector<std::pair<std::int32_t, QueryDef>> queries_;
    std::vector<RelationshipDef> relationships_;
    std::int32_t documentId_ = INT32_MIN;
    std::int32_t containerIds_[5] = {};
    RowPage mapPage_;
    std::uint32_t mapPageNo_ = 0;
    bool mapPageOpen_ = false;
    bool closed_ = false;
};

} // namespace ql::jetwriter
