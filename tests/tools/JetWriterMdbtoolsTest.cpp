// What mdbtools, an independent Jet reader, reads back from files the writer made.
#include "platform/jet/Database.h"
#include "tests/support/MdbTools.h"
#include "tests/support/TempFolder.h"
#include "tools/jetwriter/Database.h"
#include "tools/jetwriter/Generator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <ctime>
#include <map>

namespace ql::jetwriter::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

ColumnDef column(std::string name, ColumnType t, std::uint16_t size = 0)
{
    ColumnDef c;
    c.name = std::move(name);
    c.type = t;
    c.size = size;
    return c;
}

std::string repeatText(const std::string& unit, std::size_t n)
{
    std::string s;
    for (std::size_t i = 0; i < n; ++i) s += unit;
    return s;
}

std::string hex(const std::string& raw)
{
    std::string out;
    char b[3];
    for (unsigned char c : raw) {
        std::snprintf(b, sizeof b, "%02X", c);
        out += b;
    }
    return out;
}

// How mdb-export prints a few types, written out here rather than borrowed from the writer.
std::string fixed4(std::int64_t scaled)
{
    const std::uint64_t mag = scaled < 0 ? 0 - static_cast<std::uint64_t>(scaled) : static_cast<std::uint64_t>(scaled);
    char b[64];
    std::snprintf(b, sizeof b, "%s%llu.%04llu", scaled < 0 ? "-" : "", static_cast<unsigned long long>(mag / 10000),
                  static_cast<unsigned long long>(mag % 10000));
    return b;
}

// mdb-export's default date form, "%m/%d/%y %H:%M:%S".
std::string dateText(double days)
{
    const std::time_t seconds = static_cast<std::time_t>(std::llround((days - 25569) * 86400.0));
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    char b[32];
    std::strftime(b, sizeof b, "%m/%d/%y %H:%M:%S", &utc);
    return b;
}

// mdb-export's rows without the header, NULL shown as "<null>" and binary as hex.
ql::test::ExportedRows exportTable(const std::string& file, const std::string& table)
{
    return ql::test::mdbExport(file, table, {"-H", "-0", "<null>", "-b", "hex"});
}

class JetWriterMdbtools : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!ql::test::mdbtoolsInstalled()) GTEST_SKIP() << "mdbtools is not installed";
    }
    ql::test::TempFolder dir;
};

// One table with a column of every type, and rows that reach each storage form.
TEST_F(JetWriterMdbtools, EveryColumnTypeAndLongValueFormReadsBack)
{
    TableDef t{"AllTypes", {}, {}, {}};
    ColumnDef dec = column("Dec", ColumnType::Decimal);
    dec.precision = 20;
    dec.scale = 4;
    ColumnDef wide = column("WideText", ColumnType::Text, 40);
    wide.compressed = false;
    t.columns = {column("ID", ColumnType::Long),       column("Flag", ColumnType::Boolean),
                 column("Small", ColumnType::Byte),    column("Int", ColumnType::Integer),
                 column("Money", ColumnType::Currency), column("Sgl", ColumnType::Single),
                 column("Dbl", ColumnType::Double),    column("When", ColumnType::DateTime),
                 column("Bin", ColumnType::Binary, 8), column("Txt", ColumnType::Text, 40),
                 wide,                                 column("Notes", ColumnType::Memo),
                 column("Blob", ColumnType::Ole),      column("Uid", ColumnType::Guid),
                 dec};
    t.columns[0].autoNumber = true;
    const std::string single = repeatText("single page value ", 150);      // one LVAL row
    const std::string chain = repeatText("\xCE\xA9mega chain ", 3000);     // UCS-2, several pages
    const std::string blob = repeatText("OLEdata!", 2000);                 // 16000 bytes, a chain
    const std::string path = (dir / "types.mdb").string();
    {
        Database db(path, {});
        TableWriter& w = db.createTable(t);
        w.addRow({Value::null(), Value::of(1), Value::of(255), Value::of(-32768), Value::of(-123456789),
                  Value::ofReal(1.5), Value::ofReal(-2.25), Value::ofReal(36526.75), Value::ofText("AB\x01" "C"),
                  Value::ofText("Caf\xC3\xA9"), Value::ofText("plain"), Value::ofText("short memo"),
                  Value::ofText("ole"), Value::ofText("{00112233-4455-6677-8899-AABBCCDDEEFF}"),
                  Value::of(-1234567890123LL)});
        Row nulls(t.columns.size());
        w.addRow(nulls);
        w.addRow({Value::of(2147483647), Value::of(0), Value::of(0), Value::of(32767), Value::of(922337203685477LL),
                  Value::ofReal(0.0), Value::ofReal(1e300), Value::ofReal(73050.5), Value::ofText("Z"),
                  Value::ofText(""), Value::ofText("\xE6\x9D\xB1\xE4\xBA\xAC \xCE\xA9"), Value::ofText(single),
                  Value::ofText(blob), Value::null(), Value::of(0)});
        w.addRow({Value::of(-5), Value::of(1), Value::null(), Value::null(), Value::null(), Value::null(),
                  Value::null(), Value::ofReal(0.25), Value::null(), Value::null(), Value::null(), Value::ofText(chain),
                  Value::null(), Value::null(), Value::null()});
        db.close();
    }
    EXPECT_EQ("JET4\n", ql::test::runProgram({"mdb-ver", path}).out);
    EXPECT_EQ("4\n", ql::test::runProgram({"mdb-count", path, "AllTypes"}).out);
    const std::string schema = ql::test::runProgram({"mdb-schema", "-T", "AllTypes", path}).out;
    for (const char* decl : {"[ID]\t\t\tLong Integer", "[Flag]\t\t\tBoolean", "[Small]\t\t\tByte", "[Int]\t\t\tInteger",
                             "[Money]\t\t\tCurrency", "[Sgl]\t\t\tSingle", "[Dbl]\t\t\tDouble", "[When]\t\t\tDateTime",
                             "[Bin]\t\t\tBinary", "[Txt]\t\t\tText (40)", "[WideText]\t\t\tText (40)",
                             "[Notes]\t\t\tMemo/Hyperlink", "[Blob]\t\t\tOLE", "[Uid]\t\t\tReplication ID",
                             "[Dec]\t\t\tNumeric (20, 4)"})
        EXPECT_THAT(schema, HasSubstr(decl));

    const auto rows = exportTable(path, "AllTypes");
    ASSERT_EQ(4u, rows.size());
    EXPECT_THAT(rows[0], ElementsAre("1", "1", "255", "-32768", fixed4(-123456789), "1.5", "-2.25",
                                     dateText(36526.75), hex("AB\x01" "C"), "Caf\xC3\xA9", "plain", "short memo",
                                     hex("ole"), hex("{00112233-4455-6677-8899AABBCCDDEEFF}"), fixed4(-1234567890123LL)));
    EXPECT_THAT(rows[1], ElementsAre("2", "0", "<null>", "<null>", "<null>", "<null>", "<null>", "<null>", "<null>",
                                     "<null>", "<null>", "<null>", "<null>", "<null>", "<null>"))
        << "a null ID takes the next AutoNumber";
    EXPECT_EQ("2147483647", rows[2][0]);
    EXPECT_EQ("32767", rows[2][3]);
    EXPECT_EQ(fixed4(922337203685477LL), rows[2][4]);
    EXPECT_EQ(1e300, std::stod(rows[2][6]));
    EXPECT_EQ("12/31/99 12:00:00", rows[2][7]);
    // mdbtools prints a zero-length value as NULL; the null mask below tells them apart.
    EXPECT_EQ("<null>", rows[2][9]);
    EXPECT_EQ("\xE6\x9D\xB1\xE4\xBA\xAC \xCE\xA9", rows[2][10]);
    EXPECT_EQ(single, rows[2][11]);
    EXPECT_EQ(hex(blob), rows[2][12]);
    EXPECT_EQ("0.0000", rows[2][14]);
    EXPECT_EQ("-5", rows[3][0]);
    EXPECT_EQ(chain, rows[3][11]);
    EXPECT_EQ("12/30/99 06:00:00", rows[3][7]);

    // Row 2: Txt (column 9) is present though empty, Uid (13) is NULL, and the Boolean Flag (1) is
    // false, as the project's own reader sees them.
    const ql::jet::Database jet = ql::jet::Database::open(path);
    ql::jet::TableCursor c = jet.cursor(jet.tableDef("AllTypes"));
    ASSERT_TRUE(c.next() && c.next() && c.next());
    EXPECT_EQ("", c[9].as<std::string>());
    EXPECT_TRUE(c[13].isNull());
    EXPECT_FALSE(c[1].as<bool>());
}

class GeneratedFile : public JetWriterMdbtools {
protected:
    GeneratorReport make(std::uint32_t inlineMapBytes)
    {
        GeneratorOptions o;
        o.out = path = (dir / "gen.mdb").string();
        o.seed = 7;
        o.rows = 1500;
        o.tables = 6;
        o.wideColumns = 255;
        o.database.inlineMapBytes = inlineMapBytes;
        return generate(o);
    }
    void expectOrdersEqualTheGenerator(const GeneratorReport& rep)
    {
        const auto rows = exportTable(path, "Orders");
        ASSERT_EQ(rep.orderRows, rows.size());
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const Row want = ordersRow(7, i, rep.customerRows);
            const auto& got = rows[i];
            ASSERT_EQ(16u, got.size());
            auto text = [](const Value& v) { return v.isNull() ? std::string("<null>") : v.text; };
            auto integer = [](const Value& v) { return v.isNull() ? std::string("<null>") : std::to_string(v.integer); };
            EXPECT_EQ(integer(want[0]), got[0]);
            EXPECT_EQ(integer(want[1]), got[1]);
            EXPECT_EQ(text(want[2]), got[2]);
            EXPECT_EQ(text(want[3]), got[3]);
            EXPECT_EQ(integer(want[4]), got[4]);
            EXPECT_EQ(integer(want[5]), got[5]);
            EXPECT_EQ(fixed4(want[6].integer), got[6]);
            EXPECT_EQ(want[7].real, std::stod(got[7]));
            EXPECT_NEAR(want[8].real, std::stod(got[8]), 1e-4);
            EXPECT_EQ(dateText(want[9].real), got[9]);
            EXPECT_EQ(integer(want[10]), got[10]);
            EXPECT_EQ(want[11].isNull() ? "<null>" : fixed4(want[11].integer), got[11]);
            EXPECT_EQ(hex(want[13].text), got[13]);
            EXPECT_EQ(text(want[14]), got[14]) << "Notes of row " << i;
            EXPECT_EQ(want[15].isNull() ? "<null>" : hex(want[15].text), got[15]);
            if (HasFailure()) FAIL() << "first difference at Orders row " << i;
        }
    }
    std::string path;
};

TEST_F(GeneratedFile, TablesCountsAndValuesMatchTheGenerator)
{
    const GeneratorReport rep = make(64);
    EXPECT_THAT(ql::test::words(ql::test::runProgram({"mdb-tables", "-1", path}).out),
                ElementsAre("Customers", "Orders", "T0002", "T0003", "T0004", "T0005", "Wide"));
    EXPECT_THAT(ql::test::words(ql::test::runProgram({"mdb-tables", "-1", "-S", path}).out),
                ::testing::IsSupersetOf({"MSysObjects", "MSysACEs", "MSysQueries", "MSysRelationships",
                                                "MSysAccessObjects", "MSysIMEXSpecs", "MSysIMEXColumns"}));
    EXPECT_EQ(std::to_string(rep.orderRows) + "\n", ql::test::runProgram({"mdb-count", path, "Orders"}).out);
    EXPECT_EQ(std::to_string(rep.customerRows) + "\n", ql::test::runProgram({"mdb-count", path, "Customers"}).out);
    EXPECT_EQ("0\n", ql::test::runProgram({"mdb-count", path, "MSysAccessObjects"}).out) << "a table with no data pages";
    EXPECT_TRUE(exportTable(path, "MSysIMEXSpecs").empty());
    expectOrdersEqualTheGenerator(rep);

    const auto customers = exportTable(path, "Customers");
    ASSERT_EQ(rep.customerRows, customers.size());
    for (std::size_t i = 0; i < customers.size(); ++i) EXPECT_EQ(customersRow(7, i)[1].text, customers[i][1]);

    // 255 columns with long names need a table definition over several pages.
    const auto wide = exportTable(path, "Wide");
    ASSERT_EQ(5u, wide.size());
    ASSERT_EQ(255u, wide[4].size());
    EXPECT_EQ("4252", wide[4][252]);
    EXPECT_EQ("4-254", wide[4][254]);
}

TEST_F(GeneratedFile, ReferenceUsageMapsReadTheSameRows)
{
    const GeneratorReport rep = make(1); // every table spanning more than 8 pages gets a reference map
    EXPECT_EQ(std::to_string(rep.orderRows) + "\n", ql::test::runProgram({"mdb-count", path, "Orders"}).out);
    expectOrdersEqualTheGenerator(rep);
}

TEST_F(GeneratedFile, QueriesRelationshipsIndexesAndPropertiesAreCatalogued)
{
    make(64);
    EXPECT_THAT(ql::test::words(ql::test::runProgram({"mdb-queries", "-L", path}).out),
                ElementsAre("qryOrdersByCustomer", "qryAllNames", "qryDeleteOld", "qryRaisePrices"));
    EXPECT_EQ("SELECT Orders.ID,Orders.CustomerID,Orders.Amount FROM [Orders] WHERE Orders.Qty>0 ORDER BY "
              "Orders.CustomerID\n",
              ql::test::runProgram({"mdb-queries", path, "qryOrdersByCustomer"}).out);
    EXPECT_THAT(ql::test::runProgram({"mdb-queries", path, "qryDeleteOld"}).out, HasSubstr("WHERE Orders.Placed<#1/1/1995#"));
    const std::string schema = ql::test::runProgram({"mdb-schema", "--indexes", "--relations", path, "postgres"}).out;
    EXPECT_THAT(schema, HasSubstr("ALTER TABLE \"orders\" ADD CONSTRAINT \"orders_pkey\" PRIMARY KEY (\"id\");"));
    EXPECT_THAT(schema, HasSubstr("CREATE INDEX \"orders_customerid_idx\" ON \"orders\" (\"customerid\");"));
    EXPECT_THAT(schema, HasSubstr("Relationship from \"Orders\" (\"customerid\") to \"Customers\"(\"id\")"));
    EXPECT_THAT(ql::test::runProgram({"mdb-prop", path, "MSysDb"}).out, HasSubstr("AccessVersion: 08.50"));
    const std::string props = ql::test::runProgram({"mdb-prop", path, "Orders"}).out;
    EXPECT_THAT(props, HasSubstr("name: (none)\n\tDescription: Orders placed by customers\n"));
    EXPECT_THAT(props, HasSubstr("name: CustomerID\n\tRequired: yes\n"));
    EXPECT_THAT(props, HasSubstr("name: Notes\n\tDescription: Free text; some notes run over several pages\n"));
    EXPECT_THAT(ql::test::runProgram({"mdb-schema", "-T", "Orders", "--not-null", path, "postgres"}).out,
                HasSubstr("\"customerid\"\t\t\tINTEGER NOT NULL"));

    // The catalogue has the containers and documents Access keeps.
    const auto objects = exportTable(path, "MSysObjects");
    std::map<std::string, std::string> typeByName;
    for (const auto& r : objects) typeByName[r[2]] = r[3];
    for (const char* c : {"Tables", "Databases", "Relationships", "Forms", "Reports", "Scripts", "Modules", "SysRel",
                          "DataAccessPages"})
        EXPECT_EQ("3", typeByName[c]) << c;
    EXPECT_EQ("5", typeByName["qryAllNames"]);
    EXPECT_EQ("8", typeByName["CustomersOrders"]);
    EXPECT_EQ("-32768", typeByName["frmOrders"]);
    EXPECT_EQ("-32761", typeByName["modUtilities"]);
    EXPECT_EQ("2", typeByName["MSysDb"]);
    const auto rels = exportTable(path, "MSysRelationships");
    ASSERT_EQ(1u, rels.size());
    EXPECT_THAT(rels[0], ElementsAre("CustomersOrders", "2", "1", "0", "Orders", "CustomerID", "Customers", "ID"));
}

} // namespace
} // namespace ql::jetwriter::test
