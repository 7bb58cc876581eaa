// The fillers over a database written for the purpose, with the names and
// shapes no corpus file has: "MSys" inside a user table's name, a table
// name holding "." or a quote, a table of memos only, an empty table, every
// field type the engine stores.
#include <gtest/gtest.h>

#include <set>

#include "grids/Fillers.h"
#include "tests/grids/CatalogueWalk.h"
#include "tests/support/HeadlessWindow.h"
#include "tools/jetwriter/Database.h"

namespace ql::grids {
namespace {

namespace jw = jetwriter;

jw::ColumnDef col(std::string name, jw::ColumnType type, std::uint16_t size = 0) {
    jw::ColumnDef c;
    c.name = std::move(name);
    c.type = type;
    c.size = size;
    return c;
}

jw::IndexDef primaryKey(std::string column) {
    jw::IndexDef index;
    index.name = "PrimaryKey";
    index.columns = {{std::move(column)}};
    index.primaryKey = index.unique = true;
    return index;
}

// Tables in name order: Aaa, AllMemo, Dotted.Name, Main, MSysObjects2,
// O'Brien, Types, xMSys.
std::filesystem::path writeDatabase(const std::filesystem::path& folder) {
    const auto path = folder / "built.mdb";
    jw::Database db(path.string(), jw::DatabaseOptions{});
    auto table = [&](std::string name, std::vector<jw::ColumnDef> columns, std::vector<jw::IndexDef> indexes = {}) {
        return &db.createTable(jw::TableDef{std::move(name), std::move(columns), std::move(indexes), {}});
    };
    table("Aaa", {col("ID", jw::ColumnType::Long)}, {primaryKey("ID")})->addRow({jw::Value::of(1)});
    table("AllMemo", {col("Notes", jw::ColumnType::Memo), col("Picture", jw::ColumnType::Ole)});
    table("Dotted.Name", {col("ID", jw::ColumnType::Long)}, {primaryKey("ID")});
    auto* main = table("Main", {col("ID", jw::ColumnType::Long), col("Name", jw::ColumnType::Text, 40)});
    for (int i = 1; i <= 3; ++i) main->addRow({jw::Value::of(i), jw::Value::ofText("n" + std::to_string(i))});
    table("MSysObjects2", {col("ID", jw::ColumnType::Long)});
    table("O'Brien", {col("ID", jw::ColumnType::Long), col("MainID", jw::ColumnType::Long)});
    table("Types", {col("Flag", jw::ColumnType::Boolean), col("Small", jw::ColumnType::Byte),
                    col("Short", jw::ColumnType::Integer), col("Number", jw::ColumnType::Long),
                    col("Money", jw::ColumnType::Currency), col("Real4", jw::ColumnType::Single),
                    col("Real8", jw::ColumnType::Double), col("When", jw::ColumnType::DateTime),
                    col("Bytes", jw::ColumnType::Binary, 10), col("Words", jw::ColumnType::Text, 50),
                    col("Blob", jw::ColumnType::Ole), col("Notes", jw::ColumnType::Memo),
                    col("Key", jw::ColumnType::Guid), col("Exact", jw::ColumnType::Decimal)});
    table("xMSys", {col("ID", jw::ColumnType::Long)});
    db.addQuery(jw::selectQuery("qMain", "Main", {"ID", "Name"}));
    db.addQuery(jw::selectQuery("qTypes", "Types", {"Words"}));
    db.addRelationship(jw::RelationshipDef{"MainAaa", "Aaa", "Main", {{"ID", "ID"}}});
    db.addRelationship(jw::RelationshipDef{"MainOBrien", "Main", "O'Brien", {{"ID", "MainID"}}});
    db.close();
    return path;
}

class BuiltDatabase : public testing::Test {
protected:
    void SetUp() override {
        w.open(writeDatabase(w.folder.path()));
        test::listEverything(w.state);
    }
    const Grid& grid(int k) const { return w.state.lvwGrid[static_cast<std::size_t>(k)]; }
    const GridRow* rowNamed(int k, const std::string& text) const {
        for (const auto& row : grid(k).rows())
            if (row.text == text) return &row;
        return nullptr;
    }
    test::HeadlessWindow w;
};

TEST_F(BuiltDatabase, MSysAnywhereInANameKeepsATablesFieldsOut) {
    FillGridFields(w.ctx);
    std::set<std::string> tables;
    for (int i = 2; i <= grid(kGridFields).rowCount(); ++i) tables.insert(grid(kGridFields).row(i).subItem(1));
    EXPECT_EQ(tables, (std::set<std::string>{"Aaa", "AllMemo", "Dotted.Name", "Main", "O'Brien", "Types"}));
}

TEST_F(BuiltDatabase, EmptyTablesAndMemoOnlyTables) {
    FillGridTables(w.ctx);
    EXPECT_EQ(rowNamed(kGridTables, "AllMemo")->subItems, (std::vector<std::string>{"0", "2", "0"}));
    EXPECT_EQ(rowNamed(kGridTables, "Main")->subItems, (std::vector<std::string>{"3", "2", "44"}));
    // 1+1+2+4+8+4+8+8 + Binary 10 + Text 50 + 0 + 0 + GUID 16 + Decimal 16.
    EXPECT_EQ(rowNamed(kGridTables, "Types")->subItem(3), "128");
}

TEST_F(BuiltDatabase, EveryStoredTypeHasItsName) {
    FillGridFields(w.ctx);
    std::vector<std::string> types;
    for (const auto& row : grid(kGridFields).rows())
        if (row.subItem(1) == "Types") types.push_back(row.subItem(2));
    EXPECT_EQ(types, (std::vector<std::string>{"Boolean", "Byte", "Integer", "Long", "Currency", "Single", "Double",
                                               "Date", "Binary", "Text", "Long Binary", "Memo", "GUID", "Decimal"}));
}

TEST_F(BuiltDatabase, ATableNameWithADotIsSplitAtItAndNotFound) {
    ASSERT_EQ(w.state.lstData[2].List(1), "[Dotted.Name].PrimaryKey");
    FillGridIndexes(w.ctx);
    EXPECT_EQ(w.errorLogLines(),
              (std::vector<std::string>{"Index Error :qMain                                    : 003265 : Item not "
                                        "found in this collection."}));
    // The look-up failed, so the row shows the index found before it.
    EXPECT_EQ(grid(kGridIndexes).row(3).text, "PrimaryKey");
    EXPECT_EQ(grid(kGridIndexes).row(3).subItem(1), "Dotted");
}

TEST_F(BuiltDatabase, AQuoteInATableNameBreaksTheRelationshipQuery) {
    // The names go into the inner query as they are.
    try {
        FillGridRelations(w.ctx);
        ADD_FAILURE() << "no error";
    } catch (const RuntimeError& e) {
        EXPECT_EQ(e.number(), 3075) << e.what();
    }
    // The pairs are read in order of the foreign table: Main's row came first.
    ASSERT_EQ(grid(kGridRelations).rowCount(), 2);
    EXPECT_EQ(grid(kGridRelations).row(2).text, "MainAaa");
    EXPECT_EQ(grid(kGridRelations).row(2).subItem(1), "Main");
    EXPECT_EQ(grid(kGridRelations).row(2).subItem(2), "Aaa");
}

}  // namespace
}  // namespace ql::grids
