// Every Jet file of the corpus, read by us and by mdbtools 1.0: the header
// facts of the manifest, the tables, columns and indexes mdb-schema lists,
// and every cell mdb-export prints must agree, except where mdbtools is
// known to print something else (each case is explained where it is handled).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>
#include <sstream>

#include "platform/jet/Database.h"
#include "tests/support/Corpus.h"
#include "tests/support/MdbTools.h"

using namespace ql::jet;
using ql::test::corpusFile;
using ql::test::runProgram;

namespace {

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) out.push_back(line);
    return out;
}

bool isUserTable(const CatalogEntry& e) {
    return e.type == kObjectLocalTable && !(e.flags & kObjectSystemFlag) && !(e.flags & kObjectAccessSystemFlag);
}

// mdbtools reads Jet 3 text in 1252 unless told the file's own code page.
std::vector<std::string> mdbEnvironment(const HeaderInfo& header) {
    return {"MDB_JET3_CHARSET=CP" + std::to_string(header.codePage ? header.codePage : 1252)};
}

// mdb-schema's name for a column type, with the size it prints for text.
std::string mdbSchemaType(const Column& c, bool jet4) {
    switch (c.type) {
        case 0x01: return "Boolean";
        case 0x02: return "Byte";
        case 0x03: return "Integer";
        case 0x04: return "Long Integer";
        case 0x05: return "Currency";
        case 0x06: return "Single";
        case 0x07: return "Double";
        case 0x08: return "DateTime";
        case 0x09: return "Binary";
        case 0x0A: return "Text (" + std::to_string(jet4 ? c.length / 2 : c.length) + ")";
        case 0x0B: return "OLE";
        case 0x0C: return "Memo/Hyperlink";
        case 0x0F: return "Replication ID";
        case 0x10: return "Numeric";
    }
    return "?";
}

using Schema = std::map<std::string, std::vector<std::pair<std::string, std::string>>>;

// Table name -> (column name, type) from mdb-schema's access dialect.
Schema parseSchema(const std::string& out) {
    Schema tables;
    std::string current;
    for (const std::string& line : lines(out)) {
        if (line.rfind("CREATE TABLE [", 0) == 0) {
            current = line.substr(14, line.rfind(']') - 14);
            tables[current];
        } else if (!current.empty() && line.rfind("\t[", 0) == 0) {
            const std::size_t close = line.find(']');
            std::string type = line.substr(close + 1);
            type.erase(0, type.find_first_not_of('\t'));
            for (const char* tail : {", ", ",", " NOT NULL"})
                if (type.size() >= strlen(tail) && type.compare(type.size() - strlen(tail), strlen(tail), tail) == 0)
                    type.erase(type.size() - strlen(tail));
            // Memo and OLE carry a meaningless "(255)" in mdb-schema.
            for (const char* bare : {"Memo/Hyperlink", "OLE"})
                if (type.rfind(bare, 0) == 0) type = bare;
            tables[current].emplace_back(line.substr(2, close - 2), type);
        } else if (line.rfind(");", 0) == 0) {
            current.clear();
        }
    }
    return tables;
}

bool isAscii(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::string lowerAscii(std::string text) {
    for (char& c : text) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
    return text;
}

// "table kind columns" for each index mdb-schema's PostgreSQL dialect lists
// (those DAO shows, not the relationship ones), every name lowercased by
// mdbtools. Only ASCII names are kept: lowercasing elsewhere is mdbtools'
// business, not the format's.
std::multiset<std::string> parseIndexes(const std::string& out) {
    std::multiset<std::string> indexes;
    for (const std::string& line : lines(out)) {
        std::string kind;
        std::size_t tableStart;
        if (line.rfind("CREATE INDEX ", 0) == 0 || line.rfind("CREATE UNIQUE INDEX ", 0) == 0) {
            kind = line.rfind("CREATE UNIQUE", 0) == 0 ? "unique" : "index";
            tableStart = line.find(" ON \"") + 5;
        } else if (line.rfind("ALTER TABLE \"", 0) == 0 && line.find("PRIMARY KEY") != std::string::npos) {
            kind = "primary";
            tableStart = 13;
        } else {
            continue;
        }
        const std::string table = line.substr(tableStart, line.find('"', tableStart) - tableStart);
        const std::size_t open = line.rfind('(');
        std::string columns = line.substr(open + 1, line.rfind(')') - open - 1);
        columns.erase(std::remove(columns.begin(), columns.end(), '"'), columns.end());
        if (isAscii(table) && isAscii(columns)) indexes.insert(table + " " + kind + " " + columns);
    }
    return indexes;
}

std::string hex(const Binary& bytes) {
    static const char* digits = "0123456789ABCDEF";
    std::string out;
    for (std::uint8_t b : bytes) {
        out.push_back(digits[b >> 4]);
        out.push_back(digits[b & 15]);
    }
    return out;
}

const char kDateFormat[] = "%Y-%m-%d %H:%M:%S";

// The text mdb-export (with -b hex and kDateFormat) prints for one of our values.
std::string asMdbExport(const Value& value, const Column& column) {
    if (value.isNull()) return "";
    // Types mdbtools does not know (the fixed 3992-byte binary of Jet 4's
    // MSysAccessObjects) are printed as empty cells.
    if (column.type == static_cast<std::uint8_t>(ColumnType::FixedBinary)) return "";
    if (const bool* b = value.get<bool>()) return *b ? "1" : "0";
    if (const auto* v = value.get<std::uint8_t>()) return std::to_string(*v);
    if (const auto* v = value.get<std::int16_t>()) return std::to_string(*v);
    if (const auto* v = value.get<std::int32_t>()) return std::to_string(*v);
    char text[48];
    if (const auto* v = value.get<Currency>()) {
        // mdbtools always prints four decimals.
        const std::int64_t t = v->tenThousandths;
        const std::uint64_t mag = t < 0 ? 0 - static_cast<std::uint64_t>(t) : static_cast<std::uint64_t>(t);
        std::snprintf(text, sizeof text, "%s%llu.%04llu", t < 0 ? "-" : "", static_cast<unsigned long long>(mag / 10000),
                      static_cast<unsigned long long>(mag % 10000));
        return text;
    }
    if (const auto* v = value.get<float>()) {
        std::snprintf(text, sizeof text, "%.8g", static_cast<double>(*v));
        return text;
    }
    if (const auto* v = value.get<double>()) {
        std::snprintf(text, sizeof text, "%.16g", *v);
        return text;
    }
    if (const auto* v = value.get<DateTime>()) {
        // mdbtools converts only dates from 1899-12-30 to about 4637; for
        // any other it prints an all-zero struct tm.
        if (v->days < 0.0 || v->days > 1e6) return "1900-01-00 00:00:00";
        return v->toIso();
    }
    // mdbtools hands binary and text cells to C string routines, which stop
    // at the first 00 byte (Access ends some MSysQueries expressions with one).
    if (const auto* v = value.get<Binary>()) return hex(Binary(v->begin(), std::find(v->begin(), v->end(), 0)));
    auto cString = [](std::string text) { return text.substr(0, text.find('\0')); };
    if (const auto* v = value.get<std::string>()) return cString(*v);
    if (const auto* v = value.get<LongValue>()) return v->isMemo() ? cString(v->text()) : hex(v->bytes());
    if (const auto* v = value.get<Guid>()) {
        // mdbtools treats a GUID as binary in "-b hex" mode and hex-encodes
        // the text it made of it, which lacks the hyphen before the last
        // group: {8-4-4-16}.
        std::string guid = v->toString();
        guid.erase(guid.rfind('-'), 1);
        return hex(Binary(guid.begin(), guid.end()));
    }
    if (const auto* v = value.get<Decimal>()) return v->toString();
    return "?";
}

// Rows that neither we nor mdbtools can decode (mdbtools prints "Invalid
// page buffer detected in mdb_crack_row" and drops them): the end of the
// row is overwritten with noise in the file itself.
const std::map<std::pair<std::string, std::string>, int> kDamagedRows = {
    {{"j4_kontener_enc.mdb", "MSysRelationships"}, 1},
};

// Tables whose stored row count differs from their live rows: Access
// updates the stored count lazily and leaves it stale after some crashes.
// Checked by hand and with mdb-count: (stored, live).
const std::map<std::pair<std::string, std::string>, std::pair<std::uint32_t, std::uint64_t>> kStaleCounts = {
    {{"j3_arabic.mdb", "Report"}, {2, 0}},
    {{"j4_babnach_ru.mdb", "\xD1\x81\xD0\xBE\xD1\x82\xD1\x80\xD1\x83\xD0\xB4\xD0\xBD\xD0\xBA\xD0\xB8"}, {12, 15}},
};

class CorpusFile : public testing::TestWithParam<std::string> {
protected:
    std::string path() const { return corpusFile(GetParam()).string(); }
};

TEST_P(CorpusFile, HeaderAgreesWithTheManifest) {
    const auto& row = ql::test::manifest().at(GetParam());
    const Database db = Database::open(path());
    const HeaderInfo& h = db.header();
    EXPECT_EQ(h.workgroup, row["engine"] == "Jet System DB");
    EXPECT_EQ(h.format == FileFormat::Jet3 ? "JET3" : "JET4", row["mdb_ver"]);
    EXPECT_EQ(std::to_string(h.codePage), row["code_page"]);
    EXPECT_EQ(std::to_string(h.sortOrder), row["sort_order"]);
    char key[16];
    std::snprintf(key, sizeof key, "%08x", h.databaseKey);
    EXPECT_EQ(key, row["db_key_0x3e"]);
    EXPECT_EQ(h.encrypted(), row["encrypted"] == "1");
    EXPECT_EQ(h.passwordSet, row["db_password_set"] == "1");
    EXPECT_EQ(h.pageCount * std::uint64_t(h.pageSize), std::stoull(row["size"]));
    EXPECT_TRUE(db.catalogueProblems().empty()) << db.catalogueProblems().front();
}

TEST_P(CorpusFile, TablesColumnsAndIndexesEqualMdbSchema) {
    const Database db = Database::open(path());
    const auto env = mdbEnvironment(db.header());
    const auto schemaOut = runProgram({"mdb-schema", path(), "access"}, env);
    const auto indexOut = runProgram({"mdb-schema", "--indexes", "--no-relations", path(), "postgres"}, env);
    ASSERT_EQ(schemaOut.exitCode, 0);
    ASSERT_EQ(indexOut.exitCode, 0);
    const Schema schema = parseSchema(schemaOut.out);

    std::set<std::string> tables;
    std::multiset<std::string> indexes;
    const bool jet4 = db.header().format == FileFormat::Jet4;
    for (const CatalogEntry& e : db.catalogue()) {
        if (!isUserTable(e)) continue;
        SCOPED_TRACE(e.name);
        tables.insert(e.name);
        const TableDef def = db.tableDef(e.tdefPage(), e.name);
        std::vector<std::pair<std::string, std::string>> columns;
        for (const Column& c : def.columns) columns.emplace_back(c.name, mdbSchemaType(c, jet4));
        const auto it = schema.find(e.name);
        ASSERT_NE(it, schema.end());
        EXPECT_EQ(columns, it->second);

        for (const LogicalIndex& ix : def.indexes) {
            if (ix.isForeignKey()) continue;
            std::string names;
            for (const IndexColumn& c : ix.columns)
                names += (names.empty() ? "" : ", ") + lowerAscii(c.name) + (c.ascending ? "" : " DESC");
            const std::string kind = ix.isPrimary() ? "primary" : ix.isUnique() ? "unique" : "index";
            if (isAscii(e.name) && isAscii(names)) indexes.insert(lowerAscii(e.name) + " " + kind + " " + names);
        }
    }
    std::set<std::string> theirTables;
    for (const auto& [name, columns] : schema) theirTables.insert(name);
    EXPECT_EQ(tables, theirTables);
    EXPECT_EQ(static_cast<int>(tables.size()), ql::test::manifest().at(GetParam()).number("tables_local"));
    EXPECT_EQ(indexes, parseIndexes(indexOut.out));
    if (GetParam() == "j3_nwind_krystek.mdb") {
        EXPECT_EQ(indexes.size(), 27u);  // the comparison is not empty
    }
}

// Every table, system tables included (the DAO layer reads those): the rows
// mdb-export prints, and the counts. A table's live count is what a scan
// finds; its stored count must equal that unless Access left it stale.
TEST_P(CorpusFile, RowsAndCountsEqualMdbExport) {
    const Database db = Database::open(path());
    const bool jet3 = db.header().format == FileFormat::Jet3;
    for (const CatalogEntry& e : db.catalogue()) {
        if (e.type != kObjectLocalTable) continue;
        SCOPED_TRACE(e.name);
        const TableDef def = db.tableDef(e.tdefPage(), e.name);
        auto theirs = ql::test::mdbExport(path(), e.name, {"-b", "hex", "-D", kDateFormat, "-T", kDateFormat},
                                          mdbEnvironment(db.header()));
        ASSERT_FALSE(theirs.empty());
        std::vector<std::string> header;
        for (const Column& c : def.columns) header.push_back(c.name);
        EXPECT_EQ(theirs.front(), header);
        theirs.erase(theirs.begin());

        std::vector<std::vector<std::string>> ours;
        TableCursor cursor = db.cursor(def);
        int damagedRows = 0;
        for (;;) {
            try {
                if (!cursor.next()) break;
            } catch (const Error& error) {
                ASSERT_EQ(error.kind(), ErrorKind::Damaged) << error.what();
                ++damagedRows;
                continue;
            }
            std::vector<std::string> cells;
            for (std::size_t i = 0; i < def.columns.size(); ++i) {
                std::string cell = asMdbExport(cursor[i], def.columns[i]);
                // Bytes a Jet 3 code page leaves undefined: iconv in mdbtools
                // prints "?", we give U+FFFD.
                if (jet3)
                    for (std::size_t p; (p = cell.find("\xEF\xBF\xBD")) != std::string::npos;) cell.replace(p, 3, "?");
                cells.push_back(std::move(cell));
            }
            ours.push_back(std::move(cells));
        }
        const auto damagedIt = kDamagedRows.find({GetParam(), e.name});
        EXPECT_EQ(damagedRows, damagedIt == kDamagedRows.end() ? 0 : damagedIt->second);
        const std::uint64_t live = db.liveRecordCount(def);
        EXPECT_EQ(live, ours.size() + damagedRows);
        if (isUserTable(e)) {  // system tables' stored counts are often stale
            const auto staleIt = kStaleCounts.find({GetParam(), e.name});
            if (staleIt == kStaleCounts.end()) {
                EXPECT_EQ(live, def.storedRowCount);
            } else {
                EXPECT_EQ(def.storedRowCount, staleIt->second.first);
                EXPECT_EQ(live, staleIt->second.second);
            }
        }

        ASSERT_EQ(ours.size(), theirs.size());
        // mdbtools reads an overflowed row where its stub points from, we
        // read it where the stub lies (Access's order): the same rows, only
        // their order may differ.
        std::sort(ours.begin(), ours.end());
        std::sort(theirs.begin(), theirs.end());
        for (std::size_t r = 0; r < ours.size(); ++r) {
            if (ours[r] == theirs[r]) continue;
            for (std::size_t c = 0; c < ours[r].size() && c < theirs[r].size(); ++c)
                EXPECT_EQ(ours[r][c], theirs[r][c]) << "row " << r << " (sorted), column " << def.columns[c].name;
            break;
        }
    }
}

std::vector<std::string> allJetFiles() {
    std::vector<std::string> files = ql::test::jetDatabases();
    for (const std::string& f : ql::test::workgroupFiles()) files.push_back(f);
    return files;
}

INSTANTIATE_TEST_SUITE_P(Corpus, CorpusFile, testing::ValuesIn(allJetFiles()), [](const auto& info) {
    std::string name = info.param;
    for (char& c : name)
        if (!isalnum(static_cast<unsigned char>(c))) c = '_';
    return name;
});

TEST(Indexes, RelationshipIndexesPointAtTheOtherTable) {
    const Database db = Database::open(corpusFile("j3_nwind_krystek.mdb"));
    const TableDef orders = db.tableDef("Orders");
    const LogicalIndex* link = nullptr;
    const LogicalIndex* plain = nullptr;
    for (const LogicalIndex& ix : orders.indexes) {
        if (ix.name == "CustomersOrders") link = &ix;
        if (ix.name == "CustomerID") plain = &ix;
    }
    ASSERT_TRUE(link && plain);
    EXPECT_TRUE(link->isForeignKey());
    EXPECT_EQ(link->relationshipSide, 2);  // Orders holds the foreign key
    EXPECT_EQ(link->otherTablePage, db.findTable("Customers")->tdefPage());
    EXPECT_EQ(link->realIndex, plain->realIndex);  // one B-tree serves both
    ASSERT_EQ(link->columns.size(), 1u);
    EXPECT_EQ(link->columns[0].name, "CustomerID");
}

}  // namespace
