#pragma once
// Running Jet SQL over an open database: the tables the statement reads come
// through the catalogue, with the user's read permissions, as DAO hands
// them out. Internal to DAO and its tests.
#include <map>
#include <string>

#include "platform/dao/DaoState.h"
#include "platform/jetsql/Run.h"

namespace ql::dao {

// The rows of a local table or a saved select query as DAO would hand them
// out. Linked tables as sources are not run yet (3251; a link out of reach
// gives its own error first), nor saved crosstabs.
class CatalogueTables : public jetsql::Tables {
public:
    explicit CatalogueTables(DatabaseState& db) : db_(db) {}
    jetsql::Table read(const std::string& name) const override;

private:
    jetsql::Table readOnce(const std::string& name) const;

    DatabaseState& db_;
    mutable int depth_ = 0;  // saved queries being run inside one another
    // Each source read once per run, by folded name: a correlated
    // sub-query or a self-join asks for the same table again and again.
    mutable std::map<std::string, jetsql::Table> read_;
};

// Text compares by the database's sort order.
jetsql::Rules textRules(const DatabaseState& db);

// A statement read; one the parser does not read gives DAO's syntax error
// (3075) with the text.
jetsql::Query parseStatement(const std::string& sql);

}  // namespace ql::dao
