// What is left of the object layer once the engine, the catalogue, the
// errors and field counting have their own files: Jet values as DAO
// Variants, the saved queries' stored rows (MSysQueries) read once per
// database, and a query's type and SQL rebuilt from them (QuerySql).
#include "platform/dao/Dao.h"

#include <map>

#include "platform/dao/DaoState.h"
#include "platform/dao/QuerySql.h"
#include "platform/text/Names.h"

namespace ql::dao {


const Variant& Property::Value() const {
    if (unsupported_) throw daoError(errors::NotSupported);
    return value_;
}

// ---- values -------------------------------------------------------------

Variant toVariant(const jet::Value& value) {
    return std::visit(
        [](const auto& v) -> Variant {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, jet::Null>) return Null{};
            else if constexpr (std::is_same_v<T, jet::Currency>) return Currency{v.tenThousandths};
            else if constexpr (std::is_same_v<T, jet::DateTime>) return Date{v.days};
            else if constexpr (std::is_same_v<T, jet::Binary>) return ByteArray(v);
            else if constexpr (std::is_same_v<T, jet::LongValue>) {
                if (v.isMemo()) return v.text();
                return ByteArray(v.bytes());
            } else if constexpr (std::is_same_v<T, jet::Guid>) return "{guid " + v.toString() + "}";
            else if constexpr (std::is_same_v<T, jet::Decimal>) return v.toString();
            else return v;
        },
        value.data());
}

// ---- database state -----------------------------------------------------

void DatabaseState::checkOpen() const {
    if (closed) throw daoError(errors::ObjectClosed);
}

const jet::CatalogEntry* DatabaseState::findQuery(const std::string& queryName) const {
    return jet.findObject(queryName, jet::kObjectQuery);
}

const std::vector<QueryRow>& DatabaseState::rowsOf(std::int32_t objectId) {
    if (!queryRows) {
        std::map<std::int32_t, std::vector<QueryRow>> all;
        if (jet.findTable(jet::system_table::kQueries)) {
            const jet::TableDef table = jet.tableDef(jet::system_table::kQueries);
            namespace col = jet::system_column;
            const auto column = [&](const char* name) { return jet::columnIndex(table, name); };
            const auto objectIdCol = column(col::kObjectId), attributeCol = column(col::kAttribute),
                       orderCol = column(col::kOrder), name1Col = column(col::kName1), name2Col = column(col::kName2),
                       expressionCol = column(col::kExpression), flagCol = column(col::kFlag),
                       lvExtraCol = column(col::kLvExtra);
            if (!objectIdCol || !attributeCol) throw daoError(errors::CannotOpen, name);
            auto text = [](const jet::TableCursor& c, std::optional<std::size_t> column) -> std::optional<std::string> {
                return column ? jet::textValue(c[*column]) : std::nullopt;
            };
            jet::TableCursor cursor = jet.cursor(table);
            while (true) {
                try {
                    if (!cursor.next()) break;
                } catch (const jet::Error&) {
                    continue;  // a damaged row costs its query a clause, not the whole collection
                }
                QueryRow row;
                row.attribute = static_cast<int>(jet::integerValue(cursor[*attributeCol]));
                if (orderCol)
                    if (auto b = cursor[*orderCol].get<jet::Binary>()) row.order = *b;
                row.name1 = text(cursor, name1Col);
                row.name2 = text(cursor, name2Col);
                row.expression = text(cursor, expressionCol);
                if (flagCol && !cursor[*flagCol].isNull())
                    row.flag = static_cast<int>(jet::integerValue(cursor[*flagCol]));
                if (lvExtraCol)
                    if (auto v = cursor[*lvExtraCol].get<std::int32_t>()) row.lvExtra = *v;
                all[static_cast<std::int32_t>(jet::integerValue(cursor[*objectIdCol]))].push_back(std::move(row));
            }
        }
        queryRows = std::move(all);
    }
    static const std::vector<QueryRow> none;
    auto it = queryRows->find(objectId);
    return it == queryRows->end() ? none : it->second;
}

// ---- queries ------------------------------------------------------------

int QueryDef::Type() const {
    return shielded(*db_, [&]() -> int {
        const auto* entry = db_->findQuery(name_);
        if (!entry) return catalogueType_;
        const auto& rows = db_->rowsOf(entry->id);
        return daoQueryType(queryKind(rows, catalogueType_));
    });
}

std::string QueryDef::SQL() const {
    return shielded(*db_, [&]() -> std::string {
        db_->checkOpen();
        const auto* entry = db_->findQuery(name_);
        if (!entry) throw daoError(errors::ItemNotFound);
        db_->checkRead(*entry, true);
        return queryDefSql(db_->rowsOf(entry->id), db_->jet3 ? 3 : 4, catalogueType_);
    });
}

// ---- database -----------------------------------------------------------

const std::string& Database::Name() const { return state_->name; }

const jet::Database& Database::jet() const { return state_->jet; }

void Database::Close() { state_->closed = true; }

}  // namespace ql::dao
