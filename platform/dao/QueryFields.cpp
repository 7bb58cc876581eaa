// How many fields a saved query returns, counted the way the engine compiles
// it: each table or saved query it reads is opened (and permission-checked)
// in turn, "*" and "source.*" expand to their input's columns, and a crosstab
// counts its fixed headings. It relies on QueryShape for what a query reads
// and shows; it does not run the query, so no rows are read.
#include <map>

#include "platform/dao/DaoState.h"
#include "platform/dao/LinkedTables.h"
#include "platform/dao/QueryShape.h"
#include "platform/text/Names.h"

namespace ql::dao {

namespace {

int countFields(DatabaseState& db, const QueryShape& shape, int depth);

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
    const int count = countFields(db, queryShape(db.rowsOf(query->id), type), depth + 1);
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
            // Without fixed headings the columns come from the data.
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
