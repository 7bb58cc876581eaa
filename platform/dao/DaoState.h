#pragma once
// What a dao::Database shares with the objects it hands out. Internal.
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <type_traits>
#include <string>
#include <vector>

#include "platform/dao/Dao.h"
#include "platform/files/OutputFiles.h"
#include "platform/dao/QueryRows.h"
#include "platform/jet/Database.h"

namespace ql::dao {

Variant toVariant(const jet::Value& value);

// The value of one key of a connect string (";PWD=x", "ODBC;DSN=y;..."),
// the key without regard to case; empty when it is not there.
std::string connectValue(const std::string& connect, const std::string& key);

// The identity the workgroup file gives the default user.
struct Identity {
    bool present = false;               // a workgroup file was given
    std::vector<jet::Binary> sids;      // Admin, Users and the workgroup's groups Admin belongs to
};

struct DatabaseState {
    jet::Database jet;
    std::string name;
    bool jet3 = false;
    Identity identity;
    // The workgroup file was read to make the identity; like the database, it
    // may not be written by the program while this database is open.
    files::ProtectedInput workgroupInput;
    bool closed = false;

    std::optional<Collection<TableDef>> tableDefs;
    std::optional<Collection<QueryDef>> queryDefs;
    std::optional<Collection<Container>> containers;
    std::optional<Collection<Property>> properties;
    std::optional<std::map<std::int32_t, std::vector<QueryRow>>> queryRows;
    std::map<std::string, int> fieldCounts;  // by lower-case query name
    // ACM grants by object Id, for the identity's SIDs only. A cache filled
    // on first use by the const permission checks, hence mutable.
    mutable std::optional<std::map<std::int32_t, std::int32_t>> rights;

    explicit DatabaseState(jet::Database db) : jet(std::move(db)) {}
    // Table and query definitions hold the state they came from; the state
    // drops its collections of them when the database's last handle goes,
    // or the two would keep each other (and the mapped file) alive.
    void releaseDefinitions() {
        tableDefs.reset();
        queryDefs.reset();
    }
    void checkOpen() const;
    std::int32_t containerId(const std::string& name) const;  // 0 when absent
    // Catalogue rows under a parent, in Jet's name order.
    std::vector<const jet::CatalogEntry*> children(std::int32_t parentId) const;
    const std::vector<QueryRow>& rowsOf(std::int32_t objectId);
    const jet::CatalogEntry* findQuery(const std::string& name) const;
    // Raises 3112 (rows) or 3110 (definitions) when the workgroup's user may
    // not read the object.
    void checkRead(const jet::CatalogEntry& entry, bool definitions) const;
    // Whether the user may open the database at all.
    bool mayOpen() const;
    // The permissions granted on an object (all of them where none are stored).
    std::int32_t granted(std::int32_t objectId) const;
    void loadRights() const;
};

// Runs one of the public operations; a structure of the file that turns out
// to be damaged ends it with DAO's error for a database it cannot read.
template <class F>
decltype(auto) shielded(const DatabaseState& db, F&& operation) {
    try {
        if constexpr (std::is_void_v<decltype(operation())>) {
            operation();
            db.jet.checkUnchanged();
        } else {
            decltype(auto) result = operation();
            db.jet.checkUnchanged();
            return result;
        }
    } catch (const jet::Error&) {
        throw daoError(errors::CannotOpen, db.name);
    }
}

}  // namespace ql::dao
