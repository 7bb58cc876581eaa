#include "platform/dao/Dao.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <QString>

#include "platform/dao/DaoState.h"
#include "platform/dao/QueryShape.h"
#include "platform/dao/QuerySql.h"

namespace ql::dao {

namespace fs = std::filesystem;

namespace {

constexpr std::int32_t kContainersParent = 0x0F000000;
constexpr std::int16_t kTypeContainer = 3;
constexpr std::int16_t kTypeQuery = 5;
constexpr std::int16_t kTypeOdbcLink = 4;
constexpr std::int16_t kTypeJetLink = 6;

std::string fill(const char* text, const std::string& name) {
    std::string out = text;
    if (auto p = out.find('|'); p != std::string::npos) out.replace(p, 1, name);
    return out;
}

// Where a name given to OpenDatabase points, as DAO reports it: the full path.
std::string fullPath(const std::string& name) {
    std::error_code ec;
    const fs::path absolute = fs::absolute(fs::path(name), ec);
    return ec ? name : absolute.lexically_normal().string();
}

}  // namespace

RuntimeError daoError(int number, const std::string& name) {
    const char* text = nullptr;
    switch (number) {
    case errors::CouldNotFindFile: text = "Could not find file '|'."; break;
    case errors::WorkgroupMissing:
        text = "Cannot start your application. The workgroup information file is missing or opened exclusively by "
               "another user.";
        break;
    case errors::BadAccount: text = "Not a valid account name or password."; break;
    case errors::BadPassword: text = "Not a valid password."; break;
    case errors::BadPath:
        text = "'|' is not a valid path.  Make sure that the path name is spelled correctly and that you are "
               "connected to the server on which the file resides.";
        break;
    case errors::NoObjectPermission:
        text = "You do not have the necessary permissions to use the '|' object.  Have your system administrator or "
               "the person who created this object establish the appropriate permissions for you.";
        break;
    case errors::CannotOpen:
        text = "Cannot open database '|'.  It may not be a database that your application recognizes, or the file "
               "may be corrupt.";
        break;
    case errors::NoFilePermission:
        text = "The Microsoft Jet database engine cannot open the file '|'.  It is already opened exclusively by "
               "another user, or you need permission to view its data.";
        break;
    case errors::QueryExpression: text = "Syntax error (missing operator) in query expression '|'."; break;
    case errors::InputMissing:
        text = "The Microsoft Jet database engine cannot find the input table or query '|'.  Make sure it exists and "
               "that its name is spelled correctly.";
        break;
    case errors::NoReadDefinitions:
        text = "Could not read definitions; no read definitions permission for table or query '|'.";
        break;
    case errors::NoReadPermission: text = "Record(s) cannot be read; no read permission on '|'."; break;
    case errors::FromClause: text = "Syntax error in FROM clause."; break;
    case errors::NotSupported: text = "Operation is not supported for this type of object."; break;
    case errors::ItemNotFound: text = "Item not found in this collection."; break;
    case errors::UnrecognizedFormat: text = "Unrecognized database format '|'."; break;
    case errors::InvalidStatement:
        text = "Invalid SQL statement; expected 'DELETE', 'INSERT', 'PROCEDURE', 'SELECT', or 'UPDATE'.";
        break;
    case errors::NoCurrentRecord: text = "No current record."; break;
    case errors::ObjectClosed: text = "Object invalid or no longer set."; break;
    default: return RuntimeError(number, "Reserved error (" + std::to_string(number) + "); there is no message for this error.");
    }
    return RuntimeError(number, fill(text, name));
}

bool sameDaoName(const std::string& a, const std::string& b) { return jet::sameName(a, b); }

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

std::int64_t integerOf(const jet::Value& value, std::int64_t fallback) {
    if (auto v = value.get<bool>()) return *v ? -1 : 0;
    if (auto v = value.get<std::uint8_t>()) return *v;
    if (auto v = value.get<std::int16_t>()) return *v;
    if (auto v = value.get<std::int32_t>()) return *v;
    return fallback;
}

// ---- database state -----------------------------------------------------

void DatabaseState::checkOpen() const {
    if (closed) throw daoError(errors::ObjectClosed);
}

std::int32_t DatabaseState::containerId(const std::string& containerName) const {
    for (const auto& entry : jet.catalogue())
        if (entry.parentId == kContainersParent && entry.type == kTypeContainer && jet::sameName(entry.name, containerName))
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

const jet::CatalogEntry* DatabaseState::findQuery(const std::string& queryName) const {
    return jet.findObject(queryName, kTypeQuery);
}

const std::vector<QueryRow>& DatabaseState::rowsOf(std::int32_t objectId) {
    if (!queryRows) {
        std::map<std::int32_t, std::vector<QueryRow>> all;
        if (jet.findTable("MSysQueries")) {
            const jet::TableDef table = jet.tableDef("MSysQueries");
            auto column = [&](const char* name) -> int {
                for (std::size_t i = 0; i < table.columns.size(); ++i)
                    if (jet::sameName(table.columns[i].name, name)) return static_cast<int>(i);
                return -1;
            };
            const int objectIdCol = column("ObjectId"), attributeCol = column("Attribute"), orderCol = column("Order"),
                      name1Col = column("Name1"), name2Col = column("Name2"), expressionCol = column("Expression"),
                      flagCol = column("Flag"), lvExtraCol = column("LvExtra");
            if (objectIdCol < 0 || attributeCol < 0)
                throw daoError(errors::CannotOpen, name);
            auto text = [](const jet::TableCursor& c, int col) -> std::optional<std::string> {
                if (col < 0 || c[col].isNull()) return std::nullopt;
                if (auto s = c[col].get<std::string>()) return *s;
                if (auto l = c[col].get<jet::LongValue>()) return l->isMemo() ? l->text() : std::string{};
                return std::nullopt;
            };
            jet::TableCursor cursor = jet.cursor(table);
            while (true) {
                try {
                    if (!cursor.next()) break;
                } catch (const jet::Error&) {
                    continue;  // a damaged row costs its query a clause, not the whole collection
                }
                QueryRow row;
                row.attribute = static_cast<int>(integerOf(cursor[attributeCol]));
                if (orderCol >= 0)
                    if (auto b = cursor[orderCol].get<jet::Binary>()) row.order = *b;
                row.name1 = text(cursor, name1Col);
                row.name2 = text(cursor, name2Col);
                row.expression = text(cursor, expressionCol);
                if (flagCol >= 0 && !cursor[flagCol].isNull()) row.flag = static_cast<int>(integerOf(cursor[flagCol]));
                if (lvExtraCol >= 0 && !cursor[lvExtraCol].isNull()) {
                    if (auto v = cursor[lvExtraCol].get<std::int32_t>()) row.lvExtra = *v;
                }
                all[static_cast<std::int32_t>(integerOf(cursor[objectIdCol]))].push_back(std::move(row));
            }
        }
        queryRows = std::move(all);
    }
    static const std::vector<QueryRow> none;
    auto it = queryRows->find(objectId);
    return it == queryRows->end() ? none : it->second;
}

// ---- tables -------------------------------------------------------------

namespace {

int daoType(const jet::Column& column) {
    switch (column.type) {
    case 0x10: return field_type::Decimal;
    case 0x11: return field_type::LongBinary;
    default: return column.type;
    }
}

int daoSize(const jet::Column& column, bool jet3) {
    switch (column.type) {
    case 0x0A: return jet3 ? column.length : column.length / 2;
    case 0x0B:
    case 0x0C:
    case 0x11: return 0;
    case 0x10: return 16;  // the project's decision; DAO's own value could not be confirmed
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
        if ((entry.type == kTypeJetLink || entry.type == kTypeOdbcLink) && jet::sameName(entry.name, name))
            return 0;  // its columns live in the other database
    const auto* query = db.findQuery(name);
    if (!query) throw daoError(errors::InputMissing, name);
    const std::string key = QString::fromUtf8(name).toCaseFolded().toStdString();
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

// ---- database -----------------------------------------------------------

const std::string& Database::Name() const { return state_->name; }

const jet::Database& Database::jet() const { return state_->jet; }

void Database::Close() { state_->closed = true; }

const Collection<TableDef>& Database::TableDefs() const {
    return shielded(*state_, [&]() -> decltype(auto) {
        state_->checkOpen();
        if (!state_->tableDefs) {
            std::vector<TableDef> out;
            for (const auto* entry : state_->children(state_->containerId("Tables")))
                if (entry->type == jet::kObjectLocalTable || entry->type == kTypeOdbcLink || entry->type == kTypeJetLink)
                    out.emplace_back(state_, entry->name, entry->type, entry->flags);
            state_->tableDefs = Collection<TableDef>(std::move(out));
        }
        return *state_->tableDefs;
    });
}

const Collection<QueryDef>& Database::QueryDefs() const {
    return shielded(*state_, [&]() -> decltype(auto) {
        state_->checkOpen();
        if (!state_->queryDefs) {
            std::vector<QueryDef> out;
            for (const auto* entry : state_->children(state_->containerId("Tables")))
                if (entry->type == kTypeQuery) out.emplace_back(state_, entry->name, static_cast<int>(entry->flags & 0xF0));
            state_->queryDefs = Collection<QueryDef>(std::move(out));
        }
        return *state_->queryDefs;
    });
}

const Collection<Container>& Database::Containers() const {
    return shielded(*state_, [&]() -> decltype(auto) {
        state_->checkOpen();
        if (!state_->containers) {
            std::vector<Container> out;
            for (const auto* entry : state_->children(kContainersParent)) {
                if (entry->type != kTypeContainer) continue;
                std::vector<Document> documents;
                for (const auto* child : state_->children(entry->id)) documents.emplace_back(child->name);
                out.emplace_back(entry->name, std::move(documents), state_->granted(entry->id));
            }
            state_->containers = Collection<Container>(std::move(out));
        }
        return *state_->containers;
    });
}

const Collection<Property>& Database::Properties() const {
    return shielded(*state_, [&]() -> decltype(auto) {
        state_->checkOpen();
        if (!state_->properties) {
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
                if (entry.parentId != databases || !jet::sameName(entry.name, "MSysDb")) continue;
                try {
                    const jet::PropertyBlob blob = state_->jet.properties(entry.lvProp());
                    if (const auto* block = blob.objectBlock())
                        for (const auto& property : block->properties) out.emplace_back(property.name, toVariant(property.value));
                } catch (const jet::Error&) {
                    // Damaged stored properties leave the engine's own.
                }
                break;
            }
            state_->properties = Collection<Property>(std::move(out));
        }
        return *state_->properties;
    });
}

// ---- engine -------------------------------------------------------------

namespace {

// An empty 8-byte block of a workgroup password always encrypts to this.
constexpr std::uint8_t kBlankPasswordBlock[8] = {0x69, 0x52, 0xAD, 0x67, 0xF3, 0xD5, 0xE1, 0xE6};
const jet::Binary kAdminSid = {0x03, 0x01};
const jet::Binary kUsersSid = {0x02, 0x01};

bool blankPassword(const jet::Value& password) {
    if (password.isNull()) return true;
    const auto* bytes = password.get<jet::Binary>();
    if (!bytes || bytes->empty() || bytes->size() % 8 != 0) return false;
    for (std::size_t i = 0; i < bytes->size(); i += 8)
        if (std::memcmp(bytes->data() + i, kBlankPasswordBlock, 8) != 0) return false;
    return true;
}

// Opens the workgroup file and finds who the default user is in it.
Identity openWorkgroup(const std::string& path) {
    Identity identity;
    identity.present = true;
    identity.sids = {kAdminSid, kUsersSid};
    try {
        jet::Database workgroup = jet::Database::open(path);
        if (!workgroup.header().workgroup || !workgroup.findTable("MSysAccounts"))
            throw daoError(errors::WorkgroupMissing);
        const jet::TableDef accounts = workgroup.tableDef("MSysAccounts");
        const jet::Column* nameColumn = accounts.column("Name");
        const jet::Column* sidColumn = accounts.column("SID");
        const jet::Column* passwordColumn = accounts.column("Password");
        if (!nameColumn || !sidColumn || !passwordColumn) throw daoError(errors::WorkgroupMissing);
        auto index = [&](const jet::Column* c) { return static_cast<std::size_t>(c - accounts.columns.data()); };
        std::map<std::string, jet::Binary> sidByName;
        bool adminFound = false;
        jet::TableCursor cursor = workgroup.cursor(accounts);
        while (cursor.next()) {
            const auto* sid = cursor[index(sidColumn)].get<jet::Binary>();
            const auto* accountName = cursor[index(nameColumn)].get<std::string>();
            if (sid && accountName) sidByName[*accountName] = *sid;
            if (sid && *sid == kAdminSid) {
                adminFound = true;
                if (!blankPassword(cursor[index(passwordColumn)])) throw daoError(errors::BadAccount);
            }
        }
        if (!adminFound) throw daoError(errors::BadAccount);
        // The groups Admin belongs to in this workgroup (Admins among them).
        if (workgroup.findTable("MSysGroups")) {
            const jet::TableDef groups = workgroup.tableDef("MSysGroups");
            const jet::Column* groupColumn = groups.column("GroupSID");
            const jet::Column* userColumn = groups.column("UserSID");
            if (groupColumn && userColumn) {
                auto gi = static_cast<std::size_t>(groupColumn - groups.columns.data());
                auto ui = static_cast<std::size_t>(userColumn - groups.columns.data());
                jet::TableCursor members = workgroup.cursor(groups);
                while (members.next()) {
                    const auto* user = members[ui].get<jet::Binary>();
                    const auto* group = members[gi].get<jet::Binary>();
                    if (user && group && *user == kAdminSid && *group != kUsersSid) identity.sids.push_back(*group);
                }
            }
        }
    } catch (const jet::Error&) {
        throw daoError(errors::WorkgroupMissing);
    }
    return identity;
}

std::string connectPassword(const std::string& connect) {
    const std::string upper = QString::fromStdString(connect).toUpper().toStdString();
    const auto p = upper.find("PWD=");
    if (p == std::string::npos) return {};
    const auto end = connect.find(';', p + 4);
    return connect.substr(p + 4, end == std::string::npos ? std::string::npos : end - p - 4);
}

}  // namespace

Database DBEngine::OpenDatabase(const std::string& name, bool, bool, const std::string& connect) {
    // Without a workgroup file of its own the engine uses the default one,
    // where Admin is a member of Users and of no group this file knows.
    Identity identity;
    identity.sids = {kAdminSid, kUsersSid};
    if (!SystemDB.empty()) identity = openWorkgroup(SystemDB);

    const std::string full = fullPath(name);
    std::error_code ec;
    const fs::path path(full);
    if (!fs::exists(path, ec)) {
        const fs::path folder = path.parent_path();
        if (!folder.empty() && !fs::is_directory(folder, ec)) throw daoError(errors::BadPath, full);
        throw daoError(errors::CouldNotFindFile, full);
    }
    if (fs::is_directory(path, ec)) throw daoError(errors::NoFilePermission, full);
    std::optional<jet::Database> db;
    try {
        db = jet::Database::open(path);
    } catch (const jet::Error& error) {
        switch (error.kind()) {
        case jet::ErrorKind::FileMissing: throw daoError(errors::CouldNotFindFile, full);
        case jet::ErrorKind::NoPermission: throw daoError(errors::NoFilePermission, full);
        case jet::ErrorKind::NotJet:
        case jet::ErrorKind::Unsupported: throw daoError(errors::UnrecognizedFormat, full);
        default: throw daoError(errors::CannotOpen, full);
        }
    }
    if (db->header().workgroup) throw daoError(errors::UnrecognizedFormat, full);
    if (db->header().passwordSet) {
        std::string given = connectPassword(connect);
        std::string stored = db->header().password;
        if (db->header().format == jet::FileFormat::Jet3) {
            // Jet 3 compares no more than the first 13 characters.
            given = given.substr(0, 13);
            stored = stored.substr(0, 13);
        }
        if (given != stored) throw daoError(errors::BadPassword);
    }
    auto state = std::make_shared<DatabaseState>(std::move(*db));
    state->name = name;
    state->jet3 = state->jet.header().format == jet::FileFormat::Jet3;
    state->identity = std::move(identity);
    if (!SystemDB.empty()) state->workgroupInput = files::ProtectedInput::ofPath(SystemDB);
    if (!state->mayOpen()) throw daoError(errors::NoObjectPermission, full);
    return Database(state);
}

Database::Database(std::shared_ptr<DatabaseState> state) : state_(std::move(state)) {
    std::weak_ptr<DatabaseState> weak = state_;
    lifetime_ = std::shared_ptr<void>(nullptr, [weak](void*) {
        if (const auto state = weak.lock()) state->releaseDefinitions();
    });
}

}  // namespace ql::dao
