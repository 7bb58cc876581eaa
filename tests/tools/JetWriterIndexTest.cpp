// Indexes whose keys arrive out of order: the keys, the external sort, and the pages of a
// generated table checked against the rows they point at.
#include "platform/jet/Database.h"
#include "tests/tools/JetFileReader.h"
#include "tests/support/TempFolder.h"
#include "tools/jetwriter/Generator.h"
#include "tools/jetwriter/IndexSorter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <set>

namespace ql::jetwriter::test {
namespace {

Bytes keyOf(ColumnType t, const Value& v, bool ascending = true)
{
    Bytes k;
    appendIndexKey(k, t, v, ascending);
    return k;
}

TEST(IndexKeys, NumbersOrderBytewiseNullsFirstAndDescendingReverses)
{
    const std::vector<double> reals = {-1e300, -2.5, -1.0, -0.001, 0.0, 1e-9, 1.0, 2.0, 35250.0, 1e300};
    const std::vector<std::int64_t> wholes = {-32768, -300, -1, 0, 1, 255, 256, 32767};
    struct Case {
        ColumnType type;
        std::vector<Value> values; // ascending, null first
    };
    std::vector<Case> cases;
    for (ColumnType t : {ColumnType::Double, ColumnType::DateTime, ColumnType::Single}) {
        Case c{t, {Value::null()}};
        for (double d : reals)
            if (t != ColumnType::Single || std::abs(d) < 1e30) c.values.push_back(Value::ofReal(d));
        cases.push_back(c);
    }
    for (ColumnType t : {ColumnType::Integer, ColumnType::Long, ColumnType::Currency}) {
        Case c{t, {Value::null()}};
        for (std::int64_t v : wholes) c.values.push_back(Value::of(v));
        if (t != ColumnType::Integer) c.values.push_back(Value::of(INT32_MAX));
        if (t == ColumnType::Currency) c.values.push_back(Value::of(INT64_MAX));
        cases.push_back(c);
    }
    for (const Case& c : cases) {
        for (std::size_t i = 1; i < c.values.size(); ++i) {
            const Bytes lo = keyOf(c.type, c.values[i - 1]), hi = keyOf(c.type, c.values[i]);
            EXPECT_LT(lo, hi) << "type " << int(c.type) << " value " << i;
            EXPECT_GT(keyOf(c.type, c.values[i - 1], false), keyOf(c.type, c.values[i], false))
                << "descending, type " << int(c.type) << " value " << i;
            EXPECT_EQ(indexKeyWidth(c.type), hi.size());
        }
        EXPECT_EQ((Bytes{0x00}), keyOf(c.type, Value::null()));
        EXPECT_EQ((Bytes{0xFF}), keyOf(c.type, Value::null(), false));
    }
    // Bytes Access wrote for 1996-07-04 in a date index, and for a Long key.
    EXPECT_EQ((Bytes{0x7F, 0xC0, 0xE1, 0x36, 0x40, 0, 0, 0, 0}), keyOf(ColumnType::DateTime, Value::ofReal(35250)));
    EXPECT_EQ((Bytes{0x7F, 0x80, 0x00, 0x28, 0x08}), keyOf(ColumnType::Long, Value::of(10248)));
    EXPECT_EQ(longIndexKey(-77), keyOf(ColumnType::Long, Value::of(-77)));
    EXPECT_THROW(keyOf(ColumnType::Long, Value::ofText("7")), std::invalid_argument);
    EXPECT_FALSE(sortableKeyType(ColumnType::Text));
}

// Many duplicates and nulls, so that ties must fall back to the row pointer.
TEST(IndexSorter, SpilledRunsGiveTheOrderOfOneSort)
{
    ql::test::TempFolder dir;
    const std::string path = (dir / "sorted.mdb").string();
    std::vector<std::pair<Bytes, std::uint32_t>> want;
    std::mt19937 random(5);
    const std::size_t width = indexKeyWidth(ColumnType::Long) + indexKeyWidth(ColumnType::Double);
    IndexSorter inMemory(width), spilled(width, 300);
    for (int i = 0; i < 5000; ++i) {
        Bytes key;
        appendIndexKey(key, ColumnType::Long, random() % 7 == 0 ? Value::null() : Value::of(int(random() % 40) - 20),
                       true);
        appendIndexKey(key, ColumnType::Double, Value::ofReal(double(random() % 3)), false);
        const std::uint32_t pointer = (100 + random() % 50000) << 8 | (random() % 200);
        inMemory.add(key, pointer);
        spilled.add(key, pointer);
        want.emplace_back(key, pointer);
    }
    EXPECT_EQ(0u, inMemory.runs());
    EXPECT_GT(spilled.runs(), 100u);
    std::sort(want.begin(), want.end());
    std::set<Bytes> keys;
    for (const auto& w : want) keys.insert(w.first);

    std::uint32_t roots[2];
    {
        PageFile file(path);
        file.allocate();
        IndexPageWriter a(file, 0), b(file, 0);
        EXPECT_EQ(keys.size(), inMemory.drain(a));
        EXPECT_EQ(keys.size(), spilled.drain(b));
        roots[0] = a.finish();
        roots[1] = b.finish();
        file.close();
    }
    const JetFileReader r(path);
    for (std::uint32_t root : roots) {
        const auto entries = r.indexEntries(root);
        ASSERT_EQ(want.size(), entries.size());
        for (std::size_t i = 0; i < want.size(); ++i) {
            ASSERT_EQ(want[i].first, Bytes(entries[i].key.begin(), entries[i].key.end())) << "entry " << i;
            ASSERT_EQ(want[i].second, entries[i].pointer) << "entry " << i;
        }
    }
}

// Enough rows that the date index spills sorted runs to disk before its pages are written.
TEST(GeneratedIndexes, EveryOrdersIndexListsEveryRowOnceInKeyOrder)
{
    ql::test::TempFolder dir;
    GeneratorOptions o;
    o.out = (dir / "orders.mdb").string();
    o.rows = 90000;
    o.tables = 2;
    o.seed = 3;
    const GeneratorReport rep = generate(o);
    const JetFileReader r(o.out);
    // The project's own reader finds each index's root page and distinct-key count.
    const ql::jet::Database jet = ql::jet::Database::open(o.out);
    const ql::jet::TableDef stored = jet.tableDef("Orders");
    const TableDef def = ordersTable();
    ASSERT_EQ(def.indexes.size(), stored.indexes.size());

    for (std::size_t ix = 0; ix < def.indexes.size(); ++ix) {
        SCOPED_TRACE(def.indexes[ix].name);
        const IndexColumn& ic = def.indexes[ix].columns.at(0);
        const auto column = std::find_if(def.columns.begin(), def.columns.end(),
                                         [&](const ColumnDef& c) { return c.name == ic.column; }) - def.columns.begin();
        const auto logical = std::find_if(stored.indexes.begin(), stored.indexes.end(),
                                          [&](const ql::jet::LogicalIndex& li) { return li.name == def.indexes[ix].name; });
        ASSERT_NE(logical, stored.indexes.end());
        const ql::jet::RealIndex& real = stored.realIndexes.at(logical->realIndex);
        const auto entries = r.indexEntries(real.rootPage);
        ASSERT_EQ(rep.orderRows, entries.size());
        std::set<std::uint32_t> pointers;
        std::set<Bytes> keys;
        for (std::size_t i = 0; i < entries.size(); ++i) {
            const Bytes key(entries[i].key.begin(), entries[i].key.end());
            if (i > 0) {
                const Bytes before(entries[i - 1].key.begin(), entries[i - 1].key.end());
                ASSERT_TRUE(before < key || (before == key && entries[i - 1].pointer < entries[i].pointer))
                    << "entry " << i << " out of order";
            }
            const auto row = r.row(entries[i].pointer);
            ASSERT_GE(row.size(), 6u);
            const std::uint32_t id = le32(&row[2]);
            ASSERT_GE(id, 1u);
            const Row values = ordersRow(o.seed, id - 1, rep.customerRows);
            ASSERT_EQ(keyOf(def.columns[column].type, values[column], ic.ascending), key) << "row ID " << id;
            pointers.insert(entries[i].pointer);
            keys.insert(key);
        }
        EXPECT_EQ(rep.orderRows, pointers.size()) << "a row listed twice";
        EXPECT_EQ(keys.size(), real.distinctKeys);
    }
}

} // namespace
} // namespace ql::jetwriter::test
