// The writer's own bytes: header, usage maps, index pages, text forms, determinism, refusals.
#include "tests/tools/JetFileReader.h"
#include "tests/tools/TestFiles.h"
#include "tools/jetwriter/Database.h"
#include "tools/jetwriter/Generator.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <tuple>

namespace ql::jetwriter::test {
namespace {

std::string slurp(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// Offsets of the parts of a Jet 4 table definition, walked the way a reader walks them.
struct TdefParts {
    std::uint16_t columns = 0;
    std::uint32_t realIndexes = 0;
    std::uint32_t ownedMap = 0;
    std::vector<std::uint32_t> indexRoots;
};

TdefParts parseTdef(const std::vector<std::uint8_t>& s)
{
    TdefParts t;
    t.columns = le16(&s[0x2D]);
    t.realIndexes = le32(&s[0x33]);
    t.ownedMap = le32(&s[0x37]);
    std::size_t at = 0x3F + 12 * t.realIndexes + 25 * t.columns;
    for (int i = 0; i < t.columns; ++i) at += 2 + le16(&s[at]);
    for (std::uint32_t i = 0; i < t.realIndexes; ++i, at += 52) t.indexRoots.push_back(le32(&s[at + 38]));
    return t;
}

ColumnDef column(std::string name, ColumnType t, std::uint16_t size = 0)
{
    ColumnDef c;
    c.name = std::move(name);
    c.type = t;
    c.size = size;
    return c;
}

TEST(JetWriterHeader, DescribesAnUnencryptedJet4FileWithoutPassword)
{
    TempDir dir;
    DatabaseOptions opt;
    opt.created = 38135.74;
    Database db(dir.file("h.mdb"), opt);
    db.close();
    const JetFileReader r(dir.file("h.mdb"));
    const auto h = r.header();
    EXPECT_EQ(0, std::memcmp(h.data() + 4, "Standard Jet DB", 15));
    EXPECT_EQ(1u, le32(&h[0x14]));
    EXPECT_EQ(1252, le16(&h[0x3C]));
    EXPECT_EQ(0u, le32(&h[0x3E]));
    EXPECT_EQ(1033, le16(&h[0x6E]));
    double created;
    std::memcpy(&created, &h[0x72], 8);
    EXPECT_DOUBLE_EQ(38135.74, created);
    // The password area, unmasked with the integer creation date, must be all zeros.
    const std::uint8_t m[4] = {0xF7, 0x94, 0x00, 0x00};
    for (int i = 0; i < 40; ++i) EXPECT_EQ(0, h[0x42 + i] ^ m[i % 4]) << "password byte " << i;
}

TEST(JetWriterHeader, SameSeedGivesSameBytesAndAnotherSeedDoesNot)
{
    TempDir dir;
    GeneratorOptions o;
    o.rows = 300;
    o.out = dir.file("a.mdb");
    generate(o);
    o.out = dir.file("b.mdb");
    generate(o);
    o.seed = 2;
    o.out = dir.file("c.mdb");
    generate(o);
    EXPECT_EQ(slurp(dir.file("a.mdb")), slurp(dir.file("b.mdb")));
    EXPECT_NE(slurp(dir.file("a.mdb")), slurp(dir.file("c.mdb")));
}

TEST(JetWriterUsageMap, InlineAndReferenceFormsListTheSamePages)
{
    TempDir dir;
    const std::string path = dir.file("m.mdb");
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

TEST(JetWriterText, CompressesOnlyWhenEveryCharacterFitsOneByte)
{
    EXPECT_EQ((Bytes{0xFF, 0xFE, 'a', 0xE9}), encodeText("a\xC3\xA9", true));
    EXPECT_EQ((Bytes{'a', 0, 0xA9, 0x03}), encodeText("a\xCE\xA9", true)); // Omega
    EXPECT_EQ((Bytes{'a', 0}), encodeText("a", false));
    EXPECT_EQ((Bytes{0x3D, 0xD8, 0x00, 0xDE}), encodeText("\xF0\x9F\x98\x80", true)); // surrogate pair
    EXPECT_THROW(encodeText("\xC3", true), std::invalid_argument);
    EXPECT_EQ((Bytes{0x33, 0x22, 0x11, 0x00, 0x55, 0x44, 0x77, 0x66, 0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}),
              encodeGuid("{00112233-4455-6677-8899-AABBCCDDEEFF}"));
    EXPECT_THROW(encodeGuid("{0011}"), std::invalid_argument);
}

TEST(JetWriterQueries, RowsOfOneAttributeAreNumberedFromOne)
{
    TempDir dir;
    {
        Database db(dir.file("q.mdb"), {});
        db.addQuery(selectQuery("q1", "T", {"a", "b", "c"}, "T.a>1"));
        db.addQuery(unionQuery("q2", "SELECT a FROM T", "SELECT b FROM T", true));
        db.close();
    }
    const JetFileReader r(dir.file("q.mdb"));
    std::set<std::tuple<std::uint32_t, int, std::uint32_t>> seen;
    std::map<std::pair<std::uint32_t, int>, std::uint32_t> highest;
    const auto rows = r.tableRows(4); // MSysQueries
    ASSERT_EQ(2u * 3 + 5 + 4, rows.size()) << "0, 1, 255 per query + select's 3,5,6,6,6,8 + union's 3,5,5";
    for (const auto& row : rows) {
        const std::uint32_t object = le32(&row[2]);
        const int attribute = row[6];
        const auto order = JetFileReader::variableField(row, 8, 0);
        ASSERT_EQ(4u, order.size());
        const std::uint32_t n = std::uint32_t(order[0]) << 24 | order[1] << 16 | order[2] << 8 | order[3];
        EXPECT_TRUE(seen.emplace(object, attribute, n).second) << "(ObjectId, Attribute, Order) repeats";
        const auto key = std::make_pair(object, attribute);
        EXPECT_EQ(highest[key] + 1, n) << "attribute " << attribute;
        highest[key] = n;
    }
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
    TempDir dir;
};

TEST_F(JetWriterTable, PrimaryKeyPagesPointAtTheirRowsInOrder)
{
    const std::string path = dir.file("i.mdb");
    const int rows = 6000; // several leaves, so a node level above them
    std::uint32_t tdefPage;
    {
        Database db(path, {});
        TableWriter& t = db.createTable(def());
        for (int i = 0; i < rows; ++i)
            t.addRow({Value::of(i * 3 - 9000), Value::ofText("n" + std::to_string(i)), Value::null()});
        tdefPage = t.tdefPage();
        db.close();
    }
    const JetFileReader r(path);
    const TdefParts parts = parseTdef(r.tdef(tdefPage));
    ASSERT_EQ(1u, parts.realIndexes);
    EXPECT_EQ(0x03, r.page(parts.indexRoots[0])[0]) << "6000 keys need a node page";
    const auto entries = r.indexEntries(parts.indexRoots[0], 5);
    ASSERT_EQ(static_cast<std::size_t>(rows), entries.size());
    for (int i = 0; i < rows; ++i) {
        EXPECT_EQ(longIndexKey(i * 3 - 9000), Bytes(entries[i].key.begin(), entries[i].key.end()));
        const auto row = r.row(entries[i].pointer);
        ASSERT_GE(row.size(), 6u);
        EXPECT_EQ(static_cast<std::uint32_t>(i * 3 - 9000), le32(&row[2])) << "entry " << i;
    }
    // The owned map lists exactly the data pages of this table.
    std::size_t mapped = 0;
    for (std::uint32_t p : r.usageMapPages(r.row(parts.ownedMap))) {
        EXPECT_EQ(0x01, r.page(p)[0]);
        EXPECT_EQ(tdefPage, le32(r.page(p) + 4));
        mapped += le16(r.page(p) + 12);
    }
    EXPECT_EQ(static_cast<std::size_t>(rows), mapped);
}

TEST_F(JetWriterTable, LongIndexKeysSortNumerically)
{
    EXPECT_LT(longIndexKey(INT32_MIN), longIndexKey(-1));
    EXPECT_LT(longIndexKey(-1), longIndexKey(0));
    EXPECT_LT(longIndexKey(0), longIndexKey(10248));
    EXPECT_EQ((Bytes{0x7F, 0x80, 0x00, 0x28, 0x08}), longIndexKey(10248));
}

TEST_F(JetWriterTable, RefusesRowsThatDoNotFitTheDefinition)
{
    Database db(dir.file("e.mdb"), {});
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

TEST_F(JetWriterTable, WideTableDefinitionSpansChainedPages)
{
    TableDef t{"Wide", {}, {}, {}};
    for (int c = 0; c < 200; ++c) t.columns.push_back(column("A fairly long column name, number " + std::to_string(c), ColumnType::Long));
    std::uint32_t tdefPage;
    {
        Database db(dir.file("w.mdb"), {});
        TableWriter& w = db.createTable(t);
        tdefPage = w.tdefPage();
        db.close();
    }
    const JetFileReader r(dir.file("w.mdb"));
    EXPECT_NE(0u, le32(r.page(tdefPage) + 4)) << "a continuation page";
    const auto s = r.tdef(tdefPage);
    EXPECT_GT(s.size(), 4096u);
    EXPECT_EQ(200, le16(&s[0x2D]));
    EXPECT_EQ(0xFFFF, le16(&s[s.size() - 2])) << "the stream ends with its terminator";
}

} // namespace
} // namespace ql::jetwriter::test
