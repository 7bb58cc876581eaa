#include "tests/platform/dao/MdbQueries.h"

#include <cstdio>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace ql::test {

namespace {

// mdb-export prints this for Null, so Null and "" stay apart.
constexpr const char* NullMark = "@@NULL@@";

// One record per line: tabs, CR and LF inside values are escaped by -e, and
// binary columns are left out (-b strip).
std::vector<std::vector<std::string>> exportTable(const std::filesystem::path& database, const std::string& table) {
    const std::string command = "mdb-export -Q -e -b strip -d '\t' -0 '" + std::string(NullMark) + "' '" +
                                database.string() + "' " + table + " 2>/dev/null";
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    if (!pipe) throw std::runtime_error("cannot run mdb-export");
    std::string output;
    char buffer[65536];
    size_t got;
    while ((got = fread(buffer, 1, sizeof buffer, pipe.get())) > 0) output.append(buffer, got);

    std::vector<std::vector<std::string>> records;
    std::istringstream lines(output);
    std::string line;
    while (std::getline(lines, line)) {
        std::vector<std::string> fields(1);
        for (size_t i = 0; i < line.size(); ++i) {
            const char c = line[i];
            if (c == '\t') {
                fields.emplace_back();
            } else if (c == '\\' && i + 1 < line.size()) {
                const char next = line[++i];
                fields.back() += next == 'r' ? '\r' : next == 'n' ? '\n' : next == 't' ? '\t' : next;
            } else {
                fields.back() += c;
            }
        }
        records.push_back(std::move(fields));
    }
    if (records.empty()) throw std::runtime_error("mdb-export printed nothing for " + table);
    return records;
}

std::map<std::string, size_t> columnsOf(const std::vector<std::string>& header) {
    std::map<std::string, size_t> columns;
    for (size_t i = 0; i < header.size(); ++i) columns[header[i]] = i;
    return columns;
}

std::optional<std::string> cell(const std::vector<std::string>& record, const std::map<std::string, size_t>& columns,
                                const std::string& name) {
    const auto it = columns.find(name);
    if (it == columns.end() || it->second >= record.size()) return std::nullopt;
    if (record[it->second] == NullMark) return std::nullopt;
    return record[it->second];
}

}  // namespace

std::map<std::string, StoredQuery> storedQueries(const std::filesystem::path& database) {
    const auto objects = exportTable(database, "MSysObjects");
    const auto objectColumns = columnsOf(objects.front());
    std::map<long long, StoredQuery> byId;
    for (size_t i = 1; i < objects.size(); ++i) {
        const auto type = cell(objects[i], objectColumns, "Type");
        if (!type || *type != "5") continue;
        StoredQuery query;
        query.name = cell(objects[i], objectColumns, "Name").value_or("");
        query.catalogueType = static_cast<int>(std::stoll(cell(objects[i], objectColumns, "Flags").value_or("0")) & 0xF0);
        byId[std::stoll(cell(objects[i], objectColumns, "Id").value_or("0"))] = std::move(query);
    }

    const auto rows = exportTable(database, "MSysQueries");
    const auto rowColumns = columnsOf(rows.front());
    for (size_t i = 1; i < rows.size(); ++i) {
        const auto& record = rows[i];
        const auto it = byId.find(std::stoll(cell(record, rowColumns, "ObjectId").value_or("0")));
        if (it == byId.end()) continue;
        ql::dao::QueryRow row;
        row.attribute = std::stoi(cell(record, rowColumns, "Attribute").value_or("0"));
        row.name1 = cell(record, rowColumns, "Name1");
        row.name2 = cell(record, rowColumns, "Name2");
        row.expression = cell(record, rowColumns, "Expression");
        if (const auto flag = cell(record, rowColumns, "Flag")) row.flag = std::stoi(*flag);
        if (const auto extra = cell(record, rowColumns, "LvExtra")) row.lvExtra = std::stoi(*extra);
        it->second.rows.push_back(std::move(row));
    }

    std::map<std::string, StoredQuery> byName;
    for (auto& [id, query] : byId) byName[query.name] = std::move(query);
    return byName;
}

}  // namespace ql::test
