#include "platform/vba/JetSystemTables.h"

#include "platform/Invariant.h"
#include "platform/vba/VbaError.h"

namespace ql::vba {
namespace {

namespace col = jet::system_column;

// Column positions by name, looked up once per table: the stored column
// order differs between files.
class Columns {
public:
    explicit Columns(const jet::TableDef& table) : table_(table) {}
    std::optional<std::size_t> operator()(const char* name) const { return jet::columnIndex(table_, name); }

private:
    const jet::TableDef& table_;
};

std::int32_t integer(const std::vector<jet::Value>& row, std::optional<std::size_t> column) {
    return column ? static_cast<std::int32_t>(jet::integerValue(row[*column])) : 0;
}

// A name. Some rows store a C-style terminator inside the value ("Lock\0" in
// MSysModules2); names compare without it.
std::string text(const std::vector<jet::Value>& row, std::optional<std::size_t> column) {
    if (!column) return {};
    std::string name = jet::textValue(row[*column]).value_or("");
    while (!name.empty() && name.back() == '\0') name.pop_back();
    return name;
}

// What is left of one table's long-value allowance.
struct LongValueBudget {
    std::size_t limit;
    std::size_t left;
};

// A long binary value's bytes; NULL as nullopt. A value that cannot be read
// is handed on cut to nothing, so that the module it holds fails alone.
std::optional<std::string> longBinary(const std::vector<jet::Value>& row, std::optional<std::size_t> column,
                                      LongValueBudget& budget, std::vector<std::string>& problems,
                                      const std::string& where) {
    if (!column || row[*column].isNull()) return std::nullopt;
    const jet::Value& v = row[*column];
    try {
        jet::Binary bytes;
        if (auto p = v.get<jet::LongValue>()) {
            if (budget.left == 0)
                throw jet::Error(jet::ErrorKind::TooLarge,
                                 "the table's long values exceed " + std::to_string(budget.limit) + " bytes");
            bytes = p->bytes(std::min(kMaxStreamBytes, budget.left));
            budget.left -= bytes.size();
        } else if (auto p = v.get<jet::Binary>()) {
            bytes = *p;
        } else {
            return std::nullopt;
        }
        return std::string(bytes.begin(), bytes.end());
    } catch (const jet::Error& error) {
        problems.push_back(where + ": " + error.what());
        return std::string();
    }
}

// Runs f over every row of the named table; nullopt when it does not exist.
template <typename Row, typename F>
std::optional<std::vector<Row>> readTable(const jet::Database& db, const std::string& name, std::size_t longValueBytes,
                                          std::vector<std::string>& problems, F&& f) {
    if (!db.findTable(name)) return std::nullopt;
    const jet::TableDef table = db.tableDef(name);
    const Columns columns(table);
    LongValueBudget budget{longValueBytes, longValueBytes};
    std::vector<Row> rows;
    jet::TableCursor cursor = db.cursor(table);
    for (;;) {
        try {
            if (!cursor.next()) break;
        } catch (const jet::Error& error) {
            problems.push_back(name + ": " + error.what());
            continue;
        }
        // The cursor gives one value per column of the definition, so the
        // positions Columns finds are in range.
        QL_INVARIANT(cursor.values().size() == table.columns.size());
        rows.push_back(f(cursor.values(), columns, budget));
    }
    return rows;
}

}  // namespace

int JetSystemTables::jetVersion() const { return db_.header().format == jet::FileFormat::Jet3 ? 3 : 4; }

int JetSystemTables::databaseCodePage() const { return db_.header().codePage; }

std::optional<std::vector<Modules2Row>> JetSystemTables::modules2Rows() {
    return readTable<Modules2Row>(db_, jet::system_table::kModules2, tableLongValueBytes_, problems_,
                                  [&](const auto& row, const Columns& c, LongValueBudget& budget) {
        Modules2Row out{text(row, c(col::kName)), integer(row, c(col::kType)), integer(row, c(col::kVersion)), std::nullopt};
        out.module = longBinary(row, c(col::kModule), budget, problems_, std::string(jet::system_table::kModules2) + " " + out.name);
        return out;
    });
}

std::optional<std::vector<AccessObjectsRow>> JetSystemTables::accessObjectsRows() {
    return readTable<AccessObjectsRow>(db_, jet::system_table::kAccessObjects, tableLongValueBytes_, problems_,
                                       [&](const auto& row, const Columns& c, LongValueBudget& budget) {
        AccessObjectsRow out{integer(row, c(col::kAccessObjectId)), {}};
        const std::string where = std::string(jet::system_table::kAccessObjects) + " " + std::to_string(out.id);
        out.data = longBinary(row, c(col::kData), budget, problems_, where).value_or("");
        return out;
    });
}

std::optional<std::vector<AccessStorageRow>> JetSystemTables::accessStorageRows() {
    return readTable<AccessStorageRow>(db_, jet::system_table::kAccessStorage, tableLongValueBytes_, problems_,
                                       [&](const auto& row, const Columns& c, LongValueBudget& budget) {
        AccessStorageRow out{integer(row, c(col::kId)), integer(row, c(col::kParentId)), text(row, c(col::kName)),
                             integer(row, c(col::kType)), std::nullopt};
        out.lv = longBinary(row, c(col::kLv), budget, problems_, std::string(jet::system_table::kAccessStorage) + " " + out.name);
        return out;
    });
}

VbaProject openJetProject(const std::filesystem::path& path) {
    const jet::Database db = jet::Database::open(path);
    JetSystemTables tables(db);
    return loadVbaProject(tables);
}

}  // namespace ql::vba
