#include "platform/dao/QueryRun.h"

#include "platform/dao/LinkedTables.h"
#include "platform/dao/QuerySql.h"
#include "platform/jetsql/Parser.h"
#include "platform/text/Names.h"

namespace ql::dao {

jetsql::Table CatalogueTables::read(const std::string& name) const {
    const std::string key = text::foldedName(name);
    auto it = read_.find(key);
    if (it == read_.end()) it = read_.emplace(key, readOnce(name)).first;
    return it->second;
}

jetsql::Table CatalogueTables::readOnce(const std::string& name) const {
    const jet::CatalogEntry* entry = db_.jet.findTable(name);
    if (!entry) {
        if (const jet::CatalogEntry* query = db_.findQuery(name)) {
            // A query that reads itself, directly or not, never ends.
            if (depth_ > 32) throw daoError(errors::InputMissing, name);
            db_.checkRead(*query, false);
            const int type = static_cast<int>(query->flags & 0xF0);
            const std::string sql = queryDefSql(db_.rowsOf(query->id), db_.jet3 ? 3 : 4, type);
            ++depth_;
            struct Leave {
                int& depth;
                ~Leave() { --depth; }
            } leave{depth_};
            jetsql::Result result = jetsql::runSelect(parseStatement(sql), *this, textRules(db_));
            return {std::move(result.columns), std::move(result.rows)};
        }
        for (const auto& e : db_.jet.catalogue())
            if ((e.type == jet::kObjectJetLink || e.type == jet::kObjectOdbcLink) && text::sameName(e.name, name)) {
                linkedColumnCount(e, db_.name);  // the error for a source out of reach
                throw daoError(errors::NotSupported);
            }
        throw daoError(errors::InputMissing, name);
    }
    db_.checkRead(*entry, false);
    jetsql::Table out;
    try {
        const jet::TableDef def = db_.jet.tableDef(name);
        for (const auto& column : def.columns) out.columns.push_back(column.name);
        jet::TableCursor cursor = db_.jet.cursor(def);
        while (cursor.next()) {
            std::vector<Variant> row;
            row.reserve(cursor.values().size());
            for (const auto& value : cursor.values()) row.push_back(toVariant(value));
            out.rows.push_back(std::move(row));
        }
    } catch (const jet::Error&) {
        throw daoError(errors::CannotOpen, db_.name);
    }
    return out;
}

jetsql::Rules textRules(const DatabaseState& db) {
    jetsql::Rules rules;
    rules.compareText = [jet3 = db.jet3](const std::string& a, const std::string& b) { return compareNames(a, b, jet3); };
    return rules;
}

jetsql::Query parseStatement(const std::string& sql) {
    try {
        return jetsql::parseQuery(sql);
    } catch (const jetsql::SyntaxError&) {
        throw daoError(errors::QueryExpression, sql);
    }
}

jetsql::Result Database::RunSelect(const std::string& sql) const {
    return shielded(*state_, [&]() -> jetsql::Result {
        state_->checkOpen();
        return jetsql::runSelect(parseStatement(sql), CatalogueTables(*state_), textRules(*state_));
    });
}

}  // namespace ql::dao
