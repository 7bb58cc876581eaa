#include "tools/jetwriter/Generator.h"

#include <cstdio>
#include <stdexcept>

namespace ql::jetwriter {

namespace {

// SplitMix64: each value depends only on (seed, row, field), so any row can be recomputed.
std::uint64_t mix(std::uint64_t x)
{
    x += 0x9E3779B97F4A7C15ull;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ull;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBull;
    return x ^ (x >> 31);
}

struct Dice {
    std::uint64_t state;
    Dice(std::uint64_t seed, std::uint64_t row, std::uint64_t salt) : state(mix(seed ^ mix(row * 31 + salt))) {}
    std::uint64_t next() { return state = mix(state); }
    std::uint64_t below(std::uint64_t n) { return next() % n; }
};

const char* const kSyllables[] = {"ka", "lo", "mi", "ne", "ru", "sa", "to", "vi", "ber", "dan", "fel", "gor",
                                  "hal", "jun", "kes", "lum", "mor", "nix", "pra", "quo", "rin", "sol", "tur", "wen"};

std::string words(Dice& d, std::size_t minLen, std::size_t maxLen)
{
    const std::size_t target = minLen + d.below(maxLen - minLen + 1);
    std::string s;
    while (s.size() < target) {
        if (!s.empty()) s.push_back(d.below(5) == 0 ? ',' : ' ');
        if (s.back() == ',') s.push_back(' ');
        std::string w;
        const auto n = 1 + d.below(3);
        for (std::uint64_t k = 0; k < n; ++k) w += kSyllables[d.below(std::size(kSyllables))];
        if (d.below(4) == 0) w[0] = static_cast<char>(w[0] - 'a' + 'A');
        s += w;
    }
    s.resize(target);
    while (!s.empty() && (s.back() == ' ' || s.back() == ',')) s.back() = '.';
    return s;
}

ColumnDef col(std::string name, ColumnType t, std::uint16_t size = 0)
{
    ColumnDef c;
    c.name = std::move(name);
    c.type = t;
    c.size = size;
    return c;
}

IndexDef pk(std::string column)
{
    IndexDef ix;
    ix.name = "PrimaryKey";
    ix.columns = {{std::move(column), true}};
    ix.primaryKey = true;
    return ix;
}

} // namespace

TableDef ordersTable()
{
    TableDef t{"Orders", {}, {}, {}};
    ColumnDef id = col("ID", ColumnType::Long);
    id.autoNumber = true;
    ColumnDef region = col("Region", ColumnType::Text, 20);
    region.compressed = false;
    ColumnDef total = col("Total", ColumnType::Decimal);
    total.precision = 18;
    total.scale = 4;
    t.columns = {id,
                 col("CustomerID", ColumnType::Long),
                 col("Customer", ColumnType::Text, 60),
                 region,
                 col("Qty", ColumnType::Integer),
                 col("Code", ColumnType::Byte),
                 col("Amount", ColumnType::Currency),
                 col("Price", ColumnType::Double),
                 col("Ratio", ColumnType::Single),
                 col("Placed", ColumnType::DateTime),
                 col("Shipped", ColumnType::Boolean),
                 total,
                 col("Ref", ColumnType::Guid),
                 col("Tag", ColumnType::Binary, 16),
                 col("Notes", ColumnType::Memo),
                 col("Attachment", ColumnType::Ole)};
    t.description = "Orders placed by customers";
    t.columns[1].required = true;
    t.columns[14].description = "Free text; some notes run over several pages";
    IndexDef byCustomer;
    byCustomer.name = "CustomerID";
    byCustomer.columns = {{"CustomerID", true}};
    IndexDef byPlaced;
    byPlaced.name = "Placed";
    byPlaced.columns = {{"Placed", false}};
    t.indexes = {pk("ID"), byCustomer, byPlaced};
    return t;
}

Row ordersRow(std::uint64_t seed, std::uint64_t i, std::uint64_t customers, bool lightMemos)
{
    Dice d(seed, i, 1);
    Row r(16);
    r[0] = Value::of(static_cast<std::int64_t>(i + 1));
    r[1] = Value::of(static_cast<std::int64_t>(1 + d.below(customers ? customers : 1)));
    r[2] = Value::ofText(words(d, 3, 60));
    static const char* const regions[] = {"North", "South", "East", "West", "Zürich", "Kraków", "Ōsaka", "Αθήνα"};
    r[3] = d.below(10) == 0 ? Value::null() : Value::ofText(regions[d.below(8)]);
    r[4] = Value::of(static_cast<std::int64_t>(d.below(65536)) - 32768);
    r[5] = Value::of(static_cast<std::int64_t>(d.below(256)));
    r[6] = Value::of(static_cast<std::int64_t>(d.below(2000000000)) - 1000000000);
    r[7] = Value::ofReal(static_cast<double>(static_cast<std::int64_t>(d.below(20000000)) - 10000000) / 64.0);
    r[8] = Value::ofReal(static_cast<double>(d.below(1 << 20)) / 1024.0);
    // Whole seconds between 1990 and 2030, so that every reader prints the same text.
    r[9] = Value::ofReal(32874.0 + static_cast<double>(d.below(14610 * 86400ull)) / 86400.0);
    r[10] = Value::of(static_cast<std::int64_t>(d.below(2)));
    r[11] = d.below(8) == 0 ? Value::null()
                             : Value::of(static_cast<std::int64_t>(d.below(2000000000000ull)) - 1000000000000ll);
    char guid[40];
    const std::uint64_t a = d.next(), b = d.next();
    std::snprintf(guid, sizeof guid, "{%08X-%04X-%04X-%04X-%012llX}", static_cast<unsigned>(a >> 32),
                  static_cast<unsigned>((a >> 16) & 0xFFFF), static_cast<unsigned>(a & 0xFFFF),
                  static_cast<unsigned>(b >> 48), static_cast<unsigned long long>(b & 0xFFFFFFFFFFFFull));
    r[12] = Value::ofText(guid);
    std::string tag(1 + d.below(16), '\0');
    for (char& c : tag) c = static_cast<char>('A' + d.below(26)); // printable: mdb-export cuts binary at NUL
    r[13] = Value::ofText(tag);
    // Mostly short notes (kept in the row), some a page long (one LVAL row), a few that need a
    // chain of pages.
    const std::uint64_t kind = d.below(10000);
    const std::uint64_t single = lightMemos ? 9980 : 8500;
    const std::uint64_t chain = lightMemos ? 9999 : 9950;
    if (kind < 1000) r[14] = Value::null();
    else if (kind < single) r[14] = Value::ofText(words(d, 1, lightMemos ? 20 : 60)); // mdbtools shows "" as NULL
    else if (kind < chain) r[14] = Value::ofText(words(d, 200, 3000));
    else r[14] = Value::ofText(words(d, 5000, 20000));
    if (d.below(lightMemos ? 200 : 20) == 0) {
        std::string blob(20 + d.below(300), '\0');
        for (char& c : blob) c = static_cast<char>('a' + d.below(26));
        r[15] = Value::ofText(blob);
    }
    return r;
}

TableDef customersTable()
{
    TableDef t{"Customers", {}, {}, {}};
    t.columns = {col("ID", ColumnType::Long), col("Name", ColumnType::Text, 80), col("City", ColumnType::Text, 40),
                 col("Since", ColumnType::DateTime), col("Active", ColumnType::Boolean)};
    t.columns[0].autoNumber = true;
    t.indexes = {pk("ID")};
    return t;
}

Row customersRow(std::uint64_t seed, std::uint64_t i)
{
    Dice d(seed, i, 2);
    return {Value::of(static_cast<std::int64_t>(i + 1)), Value::ofText(words(d, 5, 40)), Value::ofText(words(d, 3, 20)),
            Value::ofReal(36000.0 + static_cast<double>(d.below(9000))), Value::of(static_cast<std::int64_t>(d.below(2)))};
}

GeneratorReport generate(const GeneratorOptions& o)
{
    if (o.tables < 2) throw std::invalid_argument("at least 2 tables (Orders and Customers)");
    GeneratorReport rep;
    Database db(o.out, o.database);
    const std::uint64_t scale = o.targetBytes ? o.targetBytes / 200 : o.rows;
    const std::uint64_t customers = std::max<std::uint64_t>(10, std::min<std::uint64_t>(scale / 50, 100000));
    {
        TableWriter& t = db.createTable(customersTable());
        for (std::uint64_t i = 0; i < customers; ++i) t.addRow(customersRow(o.seed, i));
        t.finish();
        rep.customerRows = customers;
    }
    {
        TableWriter& t = db.createTable(ordersTable());
        const std::uint64_t limitPages = o.targetBytes / kPageSize;
        for (std::uint64_t i = 0;; ++i) {
            if (o.targetBytes ? db.file().pageCount() >= limitPages : i >= o.rows) break;
            t.addRow(ordersRow(o.seed, i, customers, o.lightMemos));
            ++rep.orderRows;
        }
        t.finish();
    }
    // Small tables, each with a few columns of varied types.
    for (std::uint32_t k = 2; k < o.tables; ++k) {
        char name[16];
        std::snprintf(name, sizeof name, "T%04u", k);
        TableDef def{name, {}, {}, {}};
        def.columns = {col("ID", ColumnType::Long), col("Label", ColumnType::Text, 50), col("Value", ColumnType::Double),
                       col("Note", ColumnType::Memo)};
        def.indexes = {pk("ID")};
        TableWriter& t = db.createTable(def);
        Dice d(o.seed, k, 3);
        const std::uint64_t n = d.below(50);
        for (std::uint64_t i = 0; i < n; ++i)
            t.addRow({Value::of(static_cast<std::int64_t>(i + 1)), Value::ofText(words(d, 1, 50)),
                      Value::ofReal(static_cast<double>(d.below(100000)) / 8.0),
                      d.below(3) ? Value::null() : Value::ofText(words(d, 10, 500))});
        t.finish();
    }
    if (o.wideColumns) {
        TableDef def{"Wide", {}, {}, {}};
        for (std::uint32_t c = 0; c < o.wideColumns; ++c) {
            char name[64];
            std::snprintf(name, sizeof name, "Column number %03u with a long descriptive name", c);
            def.columns.push_back(col(name, c % 3 == 0 ? ColumnType::Long : ColumnType::Text, 10));
        }
        TableWriter& t = db.createTable(def);
        for (std::uint64_t i = 0; i < 5; ++i) {
            Row r;
            for (std::uint32_t c = 0; c < o.wideColumns; ++c)
                r.push_back(c % 3 == 0 ? Value::of(static_cast<std::int64_t>(i * 1000 + c))
                                       : Value::ofText(std::to_string(i) + "-" + std::to_string(c)));
            t.addRow(r);
        }
        t.finish();
    }
    const std::vector<QueryDef> queries = {
        selectQuery("qryOrdersByCustomer", "Orders", {"ID", "CustomerID", "Amount"}, "Orders.Qty>0",
                    "Orders.CustomerID"),
        unionQuery("qryAllNames", "SELECT Name FROM Customers", "SELECT Customer FROM Orders", false),
        deleteQuery("qryDeleteOld", "Orders", "Orders.Placed<#1/1/1995#"),
        updateQuery("qryRaisePrices", "Orders", "Price", "[Price]*1.1", "Orders.Code=7"),
    };
    for (std::uint32_t q = 0; q < o.queries; ++q) {
        QueryDef def = queries[q % queries.size()];
        if (q >= queries.size()) def.name += std::to_string(q);
        db.addQuery(def);
    }
    if (o.relationships) {
        RelationshipDef rel;
        rel.name = "CustomersOrders";
        rel.primaryTable = "Customers";
        rel.foreignTable = "Orders";
        rel.columns = {{"ID", "CustomerID"}};
        db.addRelationship(rel);
    }
    db.addDocument(Database::Container::Forms, "frmOrders");
    db.addDocument(Database::Container::Reports, "rptOrders");
    db.addDocument(Database::Container::Scripts, "AutoExec");
    db.addDocument(Database::Container::Modules, "modUtilities");
    db.close();
    rep.tables = o.tables + (o.wideColumns ? 1 : 0);
    rep.bytes = static_cast<std::uint64_t>(db.file().pageCount()) * kPageSize;
    return rep;
}

} // namespace ql::jetwriter
