#pragma once
// DAO's objects over the Jet reader, as the analysis uses them: the engine and
// its workgroup file, a database opened read-only and shared, its table and
// query definitions, containers and documents, properties and recordsets over
// the few SQL statements the program sends. Errors are ql::RuntimeError with
// DAO's numbers and English texts.
#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/RuntimeError.h"
#include "platform/jetsql/Run.h"
#include "platform/text/Names.h"
#include "platform/vb/Variant.h"

namespace ql::jet {
class Database;
}

namespace ql::dao {

// Field and property values are VB's Variants.
using vb::ByteArray;
using vb::Currency;
using vb::Date;
using vb::Empty;
using vb::Null;
using vb::Variant;

namespace errors {
inline constexpr int CouldNotFindFile = 3024;
inline constexpr int WorkgroupMissing = 3028;
inline constexpr int BadAccount = 3029;
inline constexpr int BadPassword = 3031;
inline constexpr int BadPath = 3044;
inline constexpr int NoObjectPermission = 3033;
inline constexpr int CannotOpen = 3049;
inline constexpr int NoFilePermission = 3051;
inline constexpr int QueryExpression = 3075;
inline constexpr int InputMissing = 3078;
inline constexpr int NoReadDefinitions = 3110;
inline constexpr int NoReadPermission = 3112;
inline constexpr int FromClause = 3131;
inline constexpr int NotSupported = 3251;
inline constexpr int ItemNotFound = 3265;
inline constexpr int UnrecognizedFormat = 3343;
inline constexpr int NoCurrentRecord = 3021;
inline constexpr int InvalidStatement = 3129;
inline constexpr int ObjectClosed = 3420;
inline constexpr int ObjectNotFound = 3011;
inline constexpr int OdbcConnection = 3151;
}  // namespace errors

// DAO's error for one of its numbers; `name` fills the text's slot.
RuntimeError daoError(int number, const std::string& name = {});

// Jet's ordering of names: no regard to case; a Jet 4 file puts apostrophes
// and hyphens aside until everything else ties. Returns <0, 0, >0.
int compareNames(const std::string& a, const std::string& b, bool jet3);

// A DAO collection: Count, Item by position (0-based) or by name, without
// regard to case; a name that is not there raises 3265.
template <class T>
class Collection {
public:
    Collection() = default;
    explicit Collection(std::vector<T> items) : items_(std::move(items)) {}
    int Count() const { return static_cast<int>(items_.size()); }
    const T& Item(int index) const {
        if (index < 0 || index >= Count()) throw daoError(errors::ItemNotFound);
        return items_[static_cast<std::size_t>(index)];
    }
    const T& Item(const std::string& name) const {
        for (const T& item : items_)
            if (text::sameName(item.Name(), name)) return item;
        throw daoError(errors::ItemNotFound);
    }
    const T& operator[](int index) const { return Item(index); }
    const T& operator[](const std::string& name) const { return Item(name); }
    bool Contains(const std::string& name) const {
        return std::any_of(items_.begin(), items_.end(), [&](const T& i) { return text::sameName(i.Name(), name); });
    }
    auto begin() const { return items_.begin(); }
    auto end() const { return items_.end(); }

private:
    std::vector<T> items_;
};

class Property {
public:
    Property(std::string name, Variant value, bool unsupported = false)
        : name_(std::move(name)), value_(std::move(value)), unsupported_(unsupported) {}
    const std::string& Name() const { return name_; }
    // Raises 3251 for a property DAO lists but cannot read in this workspace.
    const Variant& Value() const;

private:
    std::string name_;
    Variant value_;
    bool unsupported_;
};

// DAO's type codes for Field.Type.
namespace field_type {
inline constexpr int Boolean = 1, Byte = 2, Integer = 3, Long = 4, Currency = 5, Single = 6, Double = 7, Date = 8,
                     Binary = 9, Text = 10, LongBinary = 11, Memo = 12, Guid = 15, Decimal = 20;
}

class Field {
public:
    Field(std::string name, int type, int size) : name_(std::move(name)), type_(type), size_(size) {}
    const std::string& Name() const { return name_; }
    int Type() const { return type_; }
    int Size() const { return size_; }

private:
    std::string name_;
    int type_;
    int size_;
};

class Index {
public:
    Index(std::string name, bool primary, bool unique, bool foreign, std::vector<Field> fields)
        : name_(std::move(name)), primary_(primary), unique_(unique), foreign_(foreign), fields_(std::move(fields)) {}
    const std::string& Name() const { return name_; }
    bool Primary() const { return primary_; }
    bool Unique() const { return unique_; }
    bool Foreign() const { return foreign_; }
    const Collection<Field>& Fields() const { return fields_; }

private:
    std::string name_;
    bool primary_, unique_, foreign_;
    Collection<Field> fields_;
};

class Database;
struct DatabaseState;

// A table definition; fields, indexes and the count are read when first asked.
class TableDef {
public:
    TableDef(std::shared_ptr<DatabaseState> db, std::string name, int catalogueType, std::int32_t attributes)
        : db_(std::move(db)), name_(std::move(name)), catalogueType_(catalogueType), attributes_(attributes) {}
    const std::string& Name() const { return name_; }
    // Local tables 1, ODBC links 4, other links 6 (MSysObjects.Type).
    int CatalogueType() const { return catalogueType_; }
    std::int32_t Attributes() const { return attributes_; }
    const Collection<Field>& Fields() const;
    const Collection<Index>& Indexes() const;
    std::int64_t RecordCount() const;

private:
    struct Cache;
    void load() const;
    std::shared_ptr<DatabaseState> db_;
    std::string name_;
    int catalogueType_;
    std::int32_t attributes_;
    mutable std::shared_ptr<Cache> cache_;
};

class QueryDef {
public:
    QueryDef(std::shared_ptr<DatabaseState> db, std::string name, int catalogueType)
        : db_(std::move(db)), name_(std::move(name)), catalogueType_(catalogueType) {}
    const std::string& Name() const { return name_; }
    int Type() const;
    std::string SQL() const;
    // The number of output columns (0 for queries that return no rows);
    // raises 3078 naming a table or query that one of its inputs lacks.
    int FieldsCount() const;

private:
    std::shared_ptr<DatabaseState> db_;
    std::string name_;
    int catalogueType_;
};

class Document {
public:
    explicit Document(std::string name) : name_(std::move(name)) {}
    const std::string& Name() const { return name_; }

private:
    std::string name_;
};

class Container {
public:
    Container(std::string name, std::vector<Document> documents, std::int32_t permissions)
        : name_(std::move(name)), permissions_(permissions), documents_(std::move(documents)) {}
    const std::string& Name() const { return name_; }
    const Collection<Document>& Documents() const { return documents_; }
    // What the user's account and groups are granted on the container.
    std::int32_t Permissions() const { return permissions_; }
    // The file is never written: a new setting is accepted and has no effect.
    void setPermissions(std::int32_t) const {}

private:
    std::string name_;
    std::int32_t permissions_;
    Collection<Document> documents_;
};

// The rows a statement gives. Its fields (names, types, sizes) are known
// once it is opened; a plain "*" over one table or saved query, without
// WHERE, ORDER BY or DISTINCT, reads its rows only when they are first
// needed, so a recordset opened for its field list costs no row reads.
class Recordset {
public:
    using Rows = std::vector<std::vector<Variant>>;
    struct FieldValue {
        std::string name;
        Variant value;
        const std::string& Name() const { return name; }
        const Variant& Value() const { return value; }
    };
    // Fields known by name only (type and size 0).
    Recordset(std::vector<std::string> names, Rows rows);
    Recordset(std::vector<Field> fields, Rows rows);
    // Rows read by `rows` when first needed; its errors surface there.
    Recordset(std::vector<Field> fields, std::function<Rows()> rows);
    // EOF: past the last row (the name itself is taken by the C library).
    bool isEOF() const { return position_ >= loaded().size(); }
    void MoveFirst() { position_ = 0; }
    void MoveNext();
    int FieldsCount() const { return fields_.Count(); }
    const Collection<Field>& Fields() const { return fields_; }
    // The current row's value of a field by position or by name (any case);
    // 3265 for a field that is not there, 3021 with no current row.
    const Variant& Value(int index) const;
    const Variant& Value(const std::string& name) const;
    const std::string& FieldName(int index) const;
    std::size_t RecordCount() const { return loaded().size(); }
    // Whether the rows have been read yet.
    bool rowsRead() const { return !pending_; }
    void Close() {
        rows_.clear();
        pending_ = nullptr;
        position_ = 0;
    }

private:
    const Rows& loaded() const;
    Collection<Field> fields_;
    mutable Rows rows_;
    mutable std::function<Rows()> pending_;
    std::size_t position_ = 0;
};

class Database {
public:
    // The name as given to OpenDatabase.
    const std::string& Name() const;
    const Collection<TableDef>& TableDefs() const;
    const Collection<QueryDef>& QueryDefs() const;
    const Collection<Container>& Containers() const;
    const Collection<Property>& Properties() const;
    Recordset OpenRecordset(const std::string& sql) const;
    // Runs any select statement over the data, read-only, with Jet's SQL
    // rather than the few statements OpenRecordset takes; parameters read
    // as Null.
    jetsql::Result RunSelect(const std::string& sql) const;
    void Close();
    const jet::Database& jet() const;

private:
    friend class DBEngine;
    explicit Database(std::shared_ptr<DatabaseState> state);
    std::shared_ptr<DatabaseState> state_;
    // Shared by the copies of this handle only; when the last one goes the
    // state lets go of the definitions that point back to it.
    std::shared_ptr<void> lifetime_;
};

class DBEngine {
public:
    // The workgroup file; opened and checked at the next OpenDatabase.
    std::string SystemDB;
    // `options` and `readOnly` are accepted as DAO takes them; the file is
    // always opened read-only and shared. `connect` may carry ";PWD=...".
    Database OpenDatabase(const std::string& name, bool options = false, bool readOnly = true,
                          const std::string& connect = {});
};

}  // namespace ql::dao
