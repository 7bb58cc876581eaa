#include "platform/vba/JetSystemTables.h"

#include "platform/vba/VbaError.h"

namespace ql::vba {
namespace {

// Column positions by name, looked up once per table: the stored column
// order differs between files.
class Columns {
public:
    explicit Columns(const jet::TableDef& table) : table_(table) {}
    std::optional<std::size_t> operator()(const std::string& name) const {
        for (std::size_t i = 0; i < table_.columns.size(); ++i)
            if (jet::sameName(table_.columns[i].name, name)) return i;
        return std::nullopt;
    }

private:
    const jet::TableDef& table_;
};

std::int32_t integer(const std::vector<jet::Value>& row, std::optional<std::size_t> column) {
    if (!column || *column >= row.size()) return 0;
    const jet::Value& v = row[*column];
    if (auto p = v.get<std::int32_t>()) return *p;
    if (auto p = v.get<std::int16_t>()) return *p;
    if (auto p = v.get<std::uint8_t>()) return *p;
    return 0;
}

// A name. Some rows store a C-style terminator inside the value ("Lock\0" in
// MSysModules2); names compare without it.
std::string text(const std::vector<jet::Value>& row, std::optional<std::size_t> column) {
    if (!column || *column >= row.size()) return {};
    auto p = row[*column].get<std::string>();
    if (!p) return {};
    std::string name = *p;
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
    if (!column || *column >= row.size() || row[*column].isNull()) return std::nullopt;
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
        rows.push_back(f(cursor.values(), columns, budget));
    }
    return rows;
}

}  // namespace

int JetSystemTables::jetVersion() const { return db_.header().format == jet::FileFormat::Jet3 ? 3 : 4; }

int JetSystemTables::databaseCodePage() const { return db_.header().codePage; }

std::optional<std::vector<Modules2Row>> JetSystemTables::modules2Rows() {
    return readTable<Modules2Row>(db_, "MSysModules2", tableLongValueBytes_, problems_,
                                  [&](const auto& row, const Columns& c, LongValueBudget& budget) {
        Modules2Row out{text(row, c("Name")), integer(row, c("Type")), integer(row, c("Version")), std::nullopt};
        out.module = longBinary(row, c("Module"), budget, problems_, "MSysModules2 " + out.name);
        return out;
    });
}

std::optional<std::vector<AccessObjectsRow>> JetSystemTables::accessObjectsRows() {
    return readTable<AccessObjectsRow>(db_, "MSysAccessObjects", tableLongValueBytes_, problems_,
                                       [&](const auto& row, const Columns& c, LongValueBudget& budget) {
        AccessObjectsRow out{integer(row, c("ID")), {}};
        const std::string where = "MSysAccessObjects " + std::to_string(out.id);
        out.data = longBinary(row, c("Data"), budget, problems_, where).value_or("");
        return out;
    });
}

std::optional<std::vector<AccessStorageRow>> JetSystemTables::accessStorageRows() {
    return readTable<AccessStorageRow>(db_, "MSysAccessStorage", tableLongValueBytes_, problems_,
                                       [&](const auto& row, const Columns& c, LongValueBudget& budget) {
        AccessStorageRow out{integer(row, c("Id")), integer(row, c("ParentId")), text(row, c("Name")),
                             integer(row, c("Type")), std::nullopt};
        out.lv = longBinary(row, c("Lv"), budget, problems_, "MSysAccessStorage " + out.name);
        return out;
    });
}

VbaProject openJetProject(const std::filesystem::path& path) {
    const jet::Database db = jet::Database::open(path);
    JetSystemTables tables(db);
    return loadVbaProject(tables);
}

}  // namespace ql::vba
