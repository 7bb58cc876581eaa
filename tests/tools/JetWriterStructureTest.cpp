// The writer's own bytes where mdbtools does not look: usage maps, query row order, determinism,
// refusals. (The header's fields are read back by mdbtools and by the analysis tests, which open
// written files through the DAO layer and would see a password or a wrong key.)
#include "platform/jet/Database.h"
#include "tests/tools/JetFileReader.h"
#include "tests/support/TempFolder.h"
#include "tools/jetwriter/Database.h"
#include "tools/jetwriter/Generator.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <tuple>

namespace ql::jetwriter::test {
namespace {

ColumnDef column(std::string name, ColumnType t, std::uint16_t size = 0)
{
    ColumnDef c;
    c.name = std::move(name);
    c.type = t;
    c.size = size;
    return c;
}

TEST(JetWriterOutput, SameSeedGivesSameBytesAndAnotherSeedDoesNot)
{
    ql::test::TempFolder dir;
    GeneratorOptions o;
    o.rows = 300;
    o.out = (dir / "a.mdb").string();
    generate(o);
    o.out = (dir / "b.mdb").string();
    generate(o);
    o.seed = 2;
    o.out = (dir / "c.mdb").string();
    generate(o);
    EXPECT_EQ(ql::test::TempFolder::read(dir / "a.mdb"), ql::test::TempFolder::read(dir / "b.mdb"));
    EXPECT_NE(ql::test::TempFolder::read(dir / "a.mdb"), ql::test::TempFolder::read(dir / "c.mdb"));
}

TEST(JetWriterUsageMap, InlineAndReferenceFormsListTheSamePages)
{
    ql::test::TempFolder dir;
    const std::string path = (dir / "m.mdb").string();
    std::vector<std::uint32_t> want = {40, 41, 47, 300, 301, 70000, 70003};
    std::vector<std::uint8_t> inlineRow, refRow;
    {
        PageFile f(path);
        while (f.pageCount() < 80000) f.allocate();
        PageSet small, big;
        for (std::uint32_t p : {47u, 40u, 41u, 300u, 301u}) small.add(p); // out of order on purpose
        for (std::uint32_t p : want) big.add(p);
        EXPECT_EQ(5u, small.count());
        inlineRow = encodeUsageMap(small, f, 64);
        refRow = encodeUsageMap(big, f, 64);
        f.close();
    }
    const JetFileReader r(path);
    ASSERT_EQ(0, inlineRow[0]);
    EXPECT_EQ((std::vector<std::uint32_t>{40, 41, 47, 300, 301}), r.usageMapPages(inlineRow));
    ASSERT_EQ(1, refRow[0]);
    // 70003 lies in the third map page's range; the second range is empty and stays 0.
    EXPECT_EQ(1u + 4 * 3, refRow.size());
    EXPECT_EQ(0u, le32(&refRow[5]));
    EXPECT_EQ(want, r.usageMapPages(refRow));
}

// The other text forms and GUIDs are read back by mdbtools.
TEST(JetWriterText, AstralCharactersBecomeSurrogatePairsAndBadInputIsRefused)
{
    EXPECT_EQ((Bytes{0x3D, 0xD8, 0x00, 0xDE}), encodeText("\xF0\x9F\x98\x80", true));
    EXPECT_THROW(encodeText("\xC3", true), std::invalid_argument);
    EXPECT_THROW(encodeGuid("{0011}"), std::invalid_argument);
}

TEST(JetWriterQueries, RowsOfOneAttributeAreNumberedFromOne)
{
    ql::test::TempFolder dir;
    {
        Database db((dir / "q.mdb").string(), {});
        db.addQuery(selectQuery("q1", "T", {"a", "b", "c"}, "T.a>1"));
        db.addQuery(unionQuery("q2", "SELECT a FROM T", "SELECT b FROM T", true));
        db.close();
    }
    // Read in page order by the project's own reader.
    const ql::jet::Database jet = ql::jet::Database::open((dir / "q.mdb").string());
    const ql::jet::TableDef queries = jet.tableDef("MSysQueries");
    auto at = [&](const char* name) { return static_cast<std::size_t>(queries.column(name) - queries.columns.data()); };
    std::set<std::tuple<std::uint32_t, int, std::uint32_t>> seen;
    std::map<std::pair<std::uint32_t, int>, std::uint32_t> highest;
    std::size_t rows = 0;
    for (ql::jet::TableCursor c = jet.cursor(queries); c.next(); ++rows) {
        const auto object = static_cast<std::uint32_t>(c[at("ObjectId")].as<std::int32_t>());
        const int attribute = c[at("Attribute")].as<std::uint8_t>();
        const ql::jet::Binary order = c[at("Order")].as<ql::jet::Binary>();
        ASSERT_EQ(4u, order.size());
        const std::uint32_t n = std::uint32_t(order[0]) << 24 | order[1] << 16 | order[2] << 8 | order[3];
        EXPECT_TRUE(seen.emplace(object, attribute, n).second) << "(ObjectId, Attribute, Order) repeats";
        const auto key = std::make_pair(object, attribute);
        EXPECT_EQ(highest[key] + 1, n) << "attribute " << attribute;
        highest[key] = n;
    }
    EXPECT_EQ(2u * 3 + 5 + 4, rows) << "0, 1, 255 per query + select's 3,5,6,6,6,8 + union's 3,5,5";
    const auto q1Columns = std::make_pair(0x80000008u, 6);
    EXPECT_EQ(3u, highest[q1Columns]) << "q1 has three columns";
}

class JetWriterTable : public ::testing::Test {
protected:
    TableDef def()
    {
        TableDef t{"Items", {column("ID", ColumnType::Long), column("Name", ColumnType::Text, 10),
                             column("Note", ColumnType::Memo)}, {}, {}};
        IndexDef pk;
        pk.name = "PrimaryKey";
        pk.columns = {{"ID", true}};
        pk.primaryKey = true;
        t.indexes = {pk};
        return t;
    }
    ql::test::TempFolder dir;
};

TEST_F(JetWriterTable, RefusesRowsThatDoNotFitTheDefinition)
{
    Database db((dir / "e.mdb").string(), {});
    TableWriter& t = db.createTable(def());
    EXPECT_THROW(t.addRow({Value::of(1)}), std::invalid_argument) << "too few values";
    EXPECT_THROW(t.addRow({Value::of(1), Value::ofText("eleven char"), Value::null()}), std::invalid_argument);
    EXPECT_THROW(t.addRow({Value::of(1LL << 40), Value::null(), Value::null()}), std::invalid_argument);
    EXPECT_THROW(t.addRow({Value::ofText("x"), Value::null(), Value::null()}), std::invalid_argument);
    t.addRow({Value::of(5), Value::null(), Value::null()});
    EXPECT_THROW(t.addRow({Value::of(4), Value::null(), Value::null()}), std::invalid_argument)
        << "primary key values must ascend";
    EXPECT_THROW(t.addRow({Value::null(), Value::null(), Value::null()}), std::invalid_argument) << "null key";
    EXPECT_THROW(db.createTable(def()), std::invalid_argument) << "same name twice";
    TableDef bad = def();
    bad.columns.push_back(column("ID", ColumnType::Byte));
    EXPECT_THROW(db.createTable(bad), std::invalid_argument);
    bad = def();
    bad.columns[1].size = 256;
    EXPECT_THROW(db.createTable(bad), std::invalid_argument);
    bad = def();
    bad.indexes[0].columns = {{"Missing", true}};
    EXPECT_THROW(db.createTable(bad), std::invalid_argument);
    t.finish();
    EXPECT_THROW(t.addRow({Value::of(9), Value::null(), Value::null()}), std::logic_error);
    db.close();
}

} // namespace
} // namespace ql::jetwriter::test
