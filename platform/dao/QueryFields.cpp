// How many fields a saved query returns, counted the way the engine compiles
// it: each table or saved query it reads is opened (and permission-checked)
// in turn, "*" and "source.*" expand to their input's columns, and a crosstab
// counts its fixed headings. It relies on QueryShape for what a query reads
// and shows. Only a crosstab whose headings come from the data is run (its
// FROM and WHERE), to find how many headings the data gives.
#include <map>

#include "platform/dao/DaoState.h"
#include "platform/dao/LinkedTables.h"
#include "platform/dao/QueryRun.h"
#include "platform/dao/QuerySql.h"
#include "platform/dao/QueryShape.h"
#include "platform/text/Names.h"

namespace ql::dao {

namespace {

int countFields(DatabaseState& db, const QueryShape& shape, int depth);

bool headingsFromData(const QueryShape& shape) {
    if (shape.pivotValues) return false;
    for (const auto& output : shape.outputs)
        if (output.kind == QueryOutput::Kind::PivotColumns) return true;
    return false;
}

// The column headings a crosstab's data gives, by running it.
int pivotHeadingCount(DatabaseState& db, const std::string& sql) {
    return static_cast<int>(jetsql::pivotHeadings(parseStatement(sql), CatalogueTables(db), textRules(db)).size());
}

// Output columns of a table or saved query that a query reads.
int sourceFieldCount(DatabaseState& db, const std::string& name, int depth) {
    if (depth > 64) throw daoError(errors::InputMissing, name);  // a query that reads itself
    if (const auto* table = db.jet.findTable(name)) {
        db.checkRead(*table, true);
        try {
            return static_cast<int>(db.jet.tableDef(name).columns.size());
        } catch (const jet::Error&) {
            throw daoError(errors::CannotOpen, db.name);
        }
    }
    for (const auto& entry : db.jet.catalogue())
        if ((entry.type == jet::kObjectJetLink || entry.type == jet::kObjectOdbcLink) && text::sameName(entry.name, name))
            return linkedColumnCount(entry, db.name);
    const auto* query = db.findQuery(name);
    if (!query) throw daoError(errors::InputMissing, name);
    const std::string key = text::foldedName(name);
    if (auto it = db.fieldCounts.find(key); it != db.fieldCounts.end()) return it->second;
    const int type = static_cast<int>(query->flags & 0xF0);
    const auto& rows = db.rowsOf(query->id);
    const QueryShape shape = queryShape(rows, type);
    int count = countFields(db, shape, depth + 1);
    if (headingsFromData(shape)) count += pivotHeadingCount(db, queryDefSql(rows, db.jet3 ? 3 : 4, type));
    db.fieldCounts[key] = count;
    return count;
}

int countFields(DatabaseState& db, const QueryShape& shape, int depth) {
    if (!shape.returnsRows) return 0;
    if (shape.sourceDatabase) return 0;  // its inputs live in another file
    std::map<const QueryInput*, int> inputCounts;
    auto inputCount = [&](const QueryInput& input) {
        if (auto it = inputCounts.find(&input); it != inputCounts.end()) return it->second;
        int n = 0;
        if (input.sql) n = countFields(db, selectTextShape(*input.sql), depth + 1);
        else n = sourceFieldCount(db, input.name, depth);
        inputCounts[&input] = n;
        return n;
    };
    // Every input is compiled, whether or not its columns are shown.
    for (const auto& input : shape.inputs) inputCount(input);
    int count = 0;
    for (const auto& output : shape.outputs) {
        switch (output.kind) {
        case QueryOutput::Kind::Column: ++count; break;
        case QueryOutput::Kind::AllColumns:
            for (const auto& input : shape.inputs)
                if (input.outer) count += inputCount(input);
            break;
        case QueryOutput::Kind::AllOfSource:
            if (const auto* input = shape.inputFor(output.source)) count += inputCount(*input);
            else throw daoError(errors::InputMissing, output.source);
            break;
        case QueryOutput::Kind::PivotColumns:
            // Without fixed headings the columns come from the data: the
            // caller, which has the query, runs it for them.
            if (shape.pivotValues) count += static_cast<int>(shape.pivotValues->size());
            break;
        }
    }
    return count;
}

}  // namespace

int QueryDef::FieldsCount() const {
    return shielded(*db_, [&]() -> int {
        db_->checkOpen();
        const auto* entry = db_->findQuery(name_);
        if (!entry) throw daoError(errors::ItemNotFound);
        db_->checkRead(*entry, true);
        return sourceFieldCount(*db_, name_, 0);
    });
}

}  // namespace ql::dao
