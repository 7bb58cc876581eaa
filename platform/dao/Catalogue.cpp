// The catalogue as DAO shows it: the Database's collections (TableDefs,
// QueryDefs, Containers with their Documents, Properties) and each table's
// fields, indexes and record count, all read from MSysObjects and the table
// definitions through the Jet reader. A query's SQL and field count live
// with the queries; what the user may read is asked of DatabaseState
// (Security.cpp).
#include <algorithm>

#include "platform/dao/DaoState.h"
#include "platform/text/Names.h"

namespace ql::dao {

std::int32_t DatabaseState::containerId(const std::string& containerName) const {
    for (const auto& entry : jet.catalogue())
        if (entry.parentId == jet::kContainersParentId && entry.type == jet::kObjectContainer && text::sameName(entry.name, containerName))
            return entry.id;
    return 0;
}

std::vector<const jet::CatalogEntry*> DatabaseState::children(std::int32_t parentId) const {
    std::vector<const jet::CatalogEntry*> out;
    for (const auto& entry : jet.catalogue())
        if (entry.parentId == parentId) out.push_back(&entry);
    std::stable_sort(out.begin(), out.end(), [this](const jet::CatalogEntry* a, const jet::CatalogEntry* b) {
        return compareNames(a->name, b->name, jet3) < 0;
    });
    return out;
}

namespace {

using jet::ColumnType;

// DAO's field type numbers are the stored codes but for these two.
int daoType(const jet::Column& column) {
    switch (static_cast<ColumnType>(column.type)) {
    case ColumnType::Decimal: return field_type::Decimal;
    case ColumnType::FixedBinary: return field_type::LongBinary;
    default: return column.type;
    }
}

int daoSize(const jet::Column& column, bool jet3) {
    switch (static_cast<ColumnType>(column.type)) {
    case ColumnType::Text: return jet3 ? column.length : column.length / 2;
    case ColumnType::OLE:
    case ColumnType::Memo:
    case ColumnType::FixedBinary: return 0;
    case ColumnType::Decimal: return 16;  // the project's decision; DAO's own value could not be confirmed
    default: return column.length;
    }
}

}  // namespace

struct TableDef::Cache {
    std::optional<jet::TableDef> def;
    Collection<Field> fields;
    Collection<Index> indexes;
    std::optional<std::int64_t> count;
};

void TableDef::load() const {
    shielded(*db_, [&]() -> void {
        if (cache_) return;
        db_->checkOpen();
        auto cache = std::make_shared<Cache>();
        if (catalogueType_ == jet::kObjectLocalTable) {
            if (const auto* entry = db_->jet.findTable(name_)) db_->checkRead(*entry, true);
            cache->def = db_->jet.tableDef(name_);
            std::vector<Field> fields;
            for (const auto& column : cache->def->columns)
                fields.emplace_back(column.name, daoType(column), daoSize(column, db_->jet3));
            std::vector<Index> indexes;
            for (const auto& index : cache->def->indexes) {
                // The one-side index of an enforced relationship stays hidden.
                if (index.isForeignKey() && index.name.rfind(".r", 0) == 0) continue;
                std::vector<Field> keyFields;
                for (const auto& key : index.columns) {
                    const jet::Column* column = cache->def->column(key.name);
                    keyFields.emplace_back(key.name, column ? daoType(*column) : 0,
                                           column ? daoSize(*column, db_->jet3) : 0);
                }
                indexes.emplace_back(index.name, index.isPrimary(), index.isUnique(), index.isForeignKey(),
                                     std::move(keyFields));
            }
            cache->fields = Collection<Field>(std::move(fields));
            cache->indexes = Collection<Index>(std::move(indexes));
        }
        cache_ = cache;
    });
}

const Collection<Field>& TableDef::Fields() const {
    load();
    return cache_->fields;
}

const Collection<Index>& TableDef::Indexes() const {
    load();
    return cache_->indexes;
}

std::int64_t TableDef::RecordCount() const {
    return shielded(*db_, [&]() -> std::int64_t {
        load();
        if (!cache_->def) return -1;  // a linked table: DAO does not count it from here either
        if (!cache_->count) cache_->count = static_cast<std::int64_t>(db_->jet.liveRecordCount(*cache_->def));
        return *cache_->count;
    });
}

namespace {

// Each collection is built on first use and kept in the database's state.
template <class T, class Build>
const Collection<T>& cached(DatabaseState& state, std::optional<Collection<T>>& slot, Build build) {
    return shielded(state, [&]() -> const Collection<T>& {
        state.checkOpen();
        if (!slot) slot = Collection<T>(build());
        return *slot;
    });
}

}  // namespace

const Collection<TableDef>& Database::TableDefs() const {
    return cached(*state_, state_->tableDefs, [&] {
        std::vector<TableDef> out;
        for (const auto* entry : state_->children(state_->containerId("Tables")))
            if (entry->type == jet::kObjectLocalTable || entry->type == jet::kObjectOdbcLink || entry->type == jet::kObjectJetLink)
                out.emplace_back(state_, entry->name, entry->type, entry->flags);
        return out;
    });
}

const Collection<QueryDef>& Database::QueryDefs() const {
    return cached(*state_, state_->queryDefs, [&] {
        std::vector<QueryDef> out;
        for (const auto* entry : state_->children(state_->containerId("Tables")))
            if (entry->type == jet::kObjectQuery) out.emplace_back(state_, entry->name, static_cast<int>(entry->flags & 0xF0));
        return out;
    });
}

const Collection<Container>& Database::Containers() const {
    return cached(*state_, state_->containers, [&] {
        std::vector<Container> out;
        for (const auto* entry : state_->children(jet::kContainersParentId)) {
            if (entry->type != jet::kObjectContainer) continue;
            std::vector<Document> documents;
            for (const auto* child : state_->children(entry->id)) documents.emplace_back(child->name);
            out.emplace_back(entry->name, std::move(documents), state_->granted(entry->id));
        }
        return out;
    });
}

const Collection<Property>& Database::Properties() const {
    return cached(*state_, state_->properties, [&] {
        const bool jet3 = state_->jet3;
        std::vector<Property> out;
        out.emplace_back("Name", state_->name);
        out.emplace_back("Connect", std::string{});
        out.emplace_back("Transactions", true);
        out.emplace_back("Updatable", false);
        out.emplace_back("CollatingOrder", static_cast<std::int32_t>(state_->jet.header().sortOrder));
        out.emplace_back("QueryTimeout", static_cast<std::int16_t>(60));
        out.emplace_back("Version", std::string(jet3 ? "3.0" : "4.0"));
        out.emplace_back("RecordsAffected", static_cast<std::int32_t>(0));
        out.emplace_back("ReplicaID", std::string{});
        out.emplace_back("DesignMasterID", std::string{});
        out.emplace_back("Connection", Variant{}, true);
        const std::int32_t databases = state_->containerId("Databases");
        for (const auto& entry : state_->jet.catalogue()) {
            if (entry.parentId != databases || !text::sameName(entry.name, jet::system_table::kDatabaseDocument)) continue;
            try {
                const jet::PropertyBlob blob = state_->jet.properties(entry.lvProp());
                if (const auto* block = blob.objectBlock())
                    for (const auto& property : block->properties) out.emplace_back(property.name, toVariant(property.value));
            } catch (const jet::Error&) {
                // Damaged stored properties leave the engine's own.
            }
            break;
        }
        return out;
    });
}

}  // namespace ql::dao
