// QueryDef.SQL for the constructs the real files do not show (the clause
// order, nested joins, several conditions of one pair and crosstabs are
// checked on real files), built from the smallest set of rows that holds them.
#include <gtest/gtest.h>

#include "platform/dao/QuerySql.h"
#include "platform/dao/SqlNames.h"

namespace {

using ql::dao::QueryRow;
using ql::dao::queryDefSql;
namespace attr = ql::dao::query_attribute;

std::optional<std::string> text(const char* value) {
    return value ? std::optional<std::string>(value) : std::nullopt;
}

QueryRow row(int attribute, const char* name1 = nullptr, const char* name2 = nullptr, const char* expression = nullptr,
             std::optional<int> flag = std::nullopt) {
    QueryRow r;
    r.attribute = attribute;
    r.name1 = text(name1);
    r.name2 = text(name2);
    r.expression = text(expression);
    r.flag = flag;
    return r;
}

QueryRow kind(int code, const char* name1 = nullptr, const char* name2 = nullptr, const char* expression = nullptr) {
    return row(attr::Kind, name1, name2, expression, code);
}
QueryRow options(int flags, const char* top = nullptr) { return row(attr::Options, top, nullptr, nullptr, flags); }
QueryRow source(const char* name, const char* alias = nullptr) { return row(attr::Source, name, alias); }
QueryRow column(const char* expression, const char* alias = nullptr, int flag = 0) {
    return row(attr::Column, alias, nullptr, expression, flag);
}
QueryRow join(const char* left, const char* right, const char* on, int type = 1) {
    return row(attr::Join, left, right, on, type);
}
QueryRow parameter(const char* name, int type, std::optional<std::int32_t> size = std::nullopt) {
    QueryRow r = row(attr::Parameter, name, nullptr, nullptr, type);
    r.lvExtra = size;
    return r;
}

std::string sql(const std::vector<QueryRow>& rows, int jetVersion = 4, int catalogueType = -1) {
    return queryDefSql(rows, jetVersion, catalogueType);
}

TEST(QuerySqlSelect, PredicatesComeInAccessOrder) {
    const std::vector<QueryRow> base = {kind(1), source("T"), column("T.a")};
    auto with = [&](QueryRow option) {
        auto rows = base;
        rows.push_back(option);
        return sql(rows);
    };
    EXPECT_EQ(with(options(0x02 | 0x10, "5")), "SELECT DISTINCT TOP 5 T.a\r\nFROM T;\r\n");
    EXPECT_EQ(with(options(0x08 | 0x10 | 0x20, "25")), "SELECT DISTINCTROW TOP 25 PERCENT T.a\r\nFROM T;\r\n");
    EXPECT_EQ(with(options(0x02 | 0x08)), "SELECT DISTINCT T.a\r\nFROM T;\r\n");
    // TOP without its number is left out rather than written half.
    EXPECT_EQ(with(options(0x10)), "SELECT T.a\r\nFROM T;\r\n");
    EXPECT_EQ(with(options(0x01)), "SELECT T.a, *\r\nFROM T;\r\n");
    EXPECT_EQ(with(options(0x04)), "SELECT T.a\r\nFROM T\r\nWITH OWNERACCESS OPTION;\r\n");
}

TEST(QuerySqlSelect, NamesThatAreNotPlainWordsAreBracketed) {
    const std::vector<QueryRow> rows = {kind(1), source("Order Details", "OD 1"), source("2005"), source("[Done]"),
                                        column("x", "Some.Alias"), column("y", "Ünïcode_1")};
    EXPECT_EQ(sql(rows), "SELECT x AS [Some.Alias], y AS Ünïcode_1\r\nFROM [Order Details] AS [OD 1], [2005], [Done];\r\n");
}

TEST(QuerySqlSelect, SourcesInAnotherDatabaseAndDerivedTables) {
    std::vector<QueryRow> rows = {kind(1), source("T"), row(attr::SourceDatabase, "C:\\other.mdb", 0, 0),
                                  column("T.a")};
    EXPECT_EQ(sql(rows), "SELECT T.a\r\nFROM T IN 'C:\\other.mdb';\r\n");
    rows[2] = row(attr::SourceDatabase, nullptr, nullptr, "dBASE IV;");
    EXPECT_EQ(sql(rows), "SELECT T.a\r\nFROM T IN '' [dBASE IV;];\r\n");

    const std::vector<QueryRow> derived = {kind(1), row(attr::Source, nullptr, "Q", "SELECT a FROM T"),
                                           column("Q.a")};
    EXPECT_EQ(sql(derived), "SELECT Q.a\r\nFROM [SELECT a FROM T]. AS Q;\r\n");
}

TEST(QuerySqlSelect, NoSourceMeansNoFromLine) {
    EXPECT_EQ(sql({kind(1), column("1+1", "Two")}), "SELECT 1+1 AS Two;\r\n");
}

TEST(QuerySqlJoins, AliasesAndSourcesWithoutTheirOwnRow) {
    // Joins refer to an aliased source by its alias, and names compare
    // without regard to case; a join may name a source no Source row lists.
    const std::vector<QueryRow> rows = {kind(1), source("Employees", "Boss"), source("Employees"), column("Boss.Name"),
                                        join("boss", "Employees", "Boss.Id = Employees.ReportsTo"),
                                        join("Employees", "Other Table", "Employees.x = [Other Table].x")};
    EXPECT_EQ(sql(rows),
              "SELECT Boss.Name\r\nFROM (Employees AS Boss INNER JOIN Employees ON Boss.Id = Employees.ReportsTo) "
              "INNER JOIN [Other Table] ON Employees.x = [Other Table].x;\r\n");
}

TEST(QuerySqlJoins, SelfJoinByOneNameDoesNotLoop) {
    const std::vector<QueryRow> rows = {kind(1), source("T"), column("T.a"), join("T", "T", "T.a = T.b")};
    EXPECT_EQ(sql(rows), "SELECT T.a\r\nFROM T INNER JOIN T ON T.a = T.b;\r\n");
}

TEST(QuerySqlParameters, TypeWordsBracketsAndTextSizes) {
    const std::vector<QueryRow> rows = {kind(1),
                                        parameter("Start", 8),
                                        parameter("Max Count", 4),
                                        parameter("Name", 10, 50),
                                        parameter("Anything", 10),
                                        parameter("Forms!My Form!Box", 7),
                                        parameter("[Already Bracketed]", 0),
                                        parameter("Odd", 99),
                                        source("T"),
                                        column("T.a")};
    EXPECT_EQ(sql(rows, 4),
              "PARAMETERS Start DateTime, [Max Count] Long, Name Text ( 50 ), Anything Text ( 255 ), "
              "[Forms]![My Form]![Box] IEEEDouble, [Already Bracketed] Value, Odd Value;\r\n"
              "SELECT T.a\r\nFROM T;\r\n");
    // Access 97 writes text parameters without a size.
    EXPECT_EQ(sql({kind(1), parameter("Name", 10, 50), source("T"), column("T.a")}, 3),
              "PARAMETERS Name Text;\r\nSELECT T.a\r\nFROM T;\r\n");
}

TEST(QuerySqlActions, MakeTableIntoAnotherDatabase) {
    const std::vector<QueryRow> rows = {kind(2, "New Table", "C:\\db\\x.mdb"), source("T"), column("T.a")};
    EXPECT_EQ(sql(rows), "SELECT T.a INTO [New Table] IN 'C:\\db\\x.mdb'\r\nFROM T;\r\n");
}

TEST(QuerySqlActions, AppendWithSelectOrValues) {
    QueryRow a = column("S.a");
    a.name2 = "a";
    QueryRow b = column("S.b");
    b.name2 = "Field 2";
    EXPECT_EQ(sql({kind(3, "Target"), options(0x08), source("S"), a, b}),
              "INSERT INTO Target ( a, [Field 2] )\r\nSELECT DISTINCTROW S.a, S.b\r\nFROM S;\r\n");

    QueryRow v1 = column("54", nullptr, 0x8000);
    v1.name2 = "ID";
    QueryRow v2 = column("'hello'", nullptr, 0x8000);
    v2.name2 = "Text Field";
    EXPECT_EQ(sql({kind(3, "Target"), v1, v2}), "INSERT INTO Target ( ID, [Text Field] )\r\nVALUES (54, 'hello');\r\n");
    // Without target columns the list is left out.
    EXPECT_EQ(sql({kind(3, "Target"), options(0x01), source("S")}), "INSERT INTO Target\r\nSELECT *\r\nFROM S;\r\n");
}

TEST(QuerySqlActions, UpdateOverJoinedSources) {
    QueryRow set = column("[Price]*1.1");
    set.name2 = "Products.Unit Price";
    const std::vector<QueryRow> rows = {kind(4),
                                        options(0x08),
                                        source("Products"),
                                        source("Categories"),
                                        join("Categories", "Products", "Categories.ID = Products.CategoryID"),
                                        set,
                                        row(attr::Where, 0, 0, "((Categories.Name=\"Tea\"))")};
    EXPECT_EQ(sql(rows),
              "UPDATE DISTINCTROW Categories INNER JOIN Products ON Categories.ID = Products.CategoryID "
              "SET Products.[Unit Price] = [Price]*1.1\r\nWHERE ((Categories.Name=\"Tea\"));\r\n");
}

TEST(QuerySqlActions, DeleteWithAndWithoutColumns) {
    EXPECT_EQ(sql({kind(5), options(0x08), source("T"), column("T.*")}), "DELETE DISTINCTROW T.*\r\nFROM T;\r\n");
    EXPECT_EQ(sql({kind(5), options(0x01), source("T")}), "DELETE *\r\nFROM T;\r\n");
    EXPECT_EQ(sql({kind(5), source("T"), row(attr::Where, 0, 0, "(T.a=1)")}), "DELETE\r\nFROM T\r\nWHERE (T.a=1);\r\n");
}

TEST(QuerySqlUnion, FirstHalfKeepsItsLineEndsOrderByAndAllWhenNotDistinct) {
    const std::vector<QueryRow> rows = {kind(9), options(0), row(attr::Source, 0, "X7YZ_____2", "  SELECT b FROM U \r\n"),
                                        row(attr::Source, 0, "X7YZ_____1", "\r\nSELECT a\r\nFROM T  \r\n\r\n"),
                                        row(attr::OrderBy, "D", 0, "a")};
    EXPECT_EQ(sql(rows), "SELECT a\r\nFROM T  \r\n\r\nUNION ALL SELECT b FROM U\r\nORDER BY a DESC;\r\n");
    // A first half stored without a line end still gets one before UNION.
    EXPECT_EQ(sql({kind(9), options(0x02), row(attr::Source, 0, "X7YZ_____1", "SELECT a FROM T"),
                   row(attr::Source, 0, "X7YZ_____2", "SELECT b FROM U")}),
              "SELECT a FROM T\r\nUNION SELECT b FROM U;\r\n");
}

TEST(QuerySqlSavedText, DdlAndPassThroughAreVerbatim) {
    EXPECT_EQ(sql({kind(7, nullptr, nullptr, "CREATE TABLE X (a TEXT)")}), "CREATE TABLE X (a TEXT)");
    EXPECT_EQ(sql({kind(8, "ODBC;DSN=x", nullptr, std::string("select 1;\0junk", 14).c_str())}), "select 1;");
    EXPECT_EQ(sql({kind(7)}), "");
}

TEST(QuerySqlKind, TheRowsKindWinsThenTheCatalogue) {
    const std::vector<QueryRow> noKindRow = {source("T"), column("T.a")};
    EXPECT_EQ(sql(noKindRow, 4, 32), "DELETE T.a\r\nFROM T;\r\n");
    EXPECT_EQ(sql(noKindRow, 4, -1), "SELECT T.a\r\nFROM T;\r\n");
    std::vector<QueryRow> withKind = noKindRow;
    withKind.push_back(kind(5));
    EXPECT_EQ(sql(withKind, 4, 0), "DELETE T.a\r\nFROM T;\r\n");
    withKind.back() = kind(42);  // an unknown code falls back to the catalogue
    EXPECT_EQ(sql(withKind, 4, 0), "SELECT T.a\r\nFROM T;\r\n");
}

TEST(QuerySqlRows, SortedByAttributeThenOrderKey) {
    QueryRow second = column("T.b");
    second.order = {0x00, 0x02};
    QueryRow first = column("T.a");
    first.order = {0x00, 0x01};
    EXPECT_EQ(sql({column("T.c"), second, source("T"), first, kind(1)}), "SELECT T.c, T.a, T.b\r\nFROM T;\r\n");
}

TEST(QuerySqlRows, EmptyOrDamagedRowsNeverFail) {
    EXPECT_EQ(sql({}), "SELECT ;\r\n");
    QueryRow nothing;
    nothing.attribute = attr::Join;
    EXPECT_NO_THROW(sql({kind(1), nothing, nothing, row(attr::Column), row(attr::Source)}));
    EXPECT_NO_THROW(sql({kind(4), row(attr::Column)}));
}

TEST(SqlNames, PlainWordsAndBrackets) {
    using namespace ql::dao;
    EXPECT_TRUE(isPlainName("Table_1"));
    EXPECT_TRUE(isPlainName("Код_кафедры"));
    EXPECT_TRUE(isPlainName("Société"));
    EXPECT_FALSE(isPlainName("N° commande"));
    EXPECT_FALSE(isPlainName("N°"));
    EXPECT_FALSE(isPlainName("1st"));
    EXPECT_FALSE(isPlainName(""));
    EXPECT_EQ(sqlName("[a] & [b]"), "[[a] & [b]]");
    EXPECT_EQ(sqlQualifiedName("[Table2].[col1]"), "[Table2].[col1]");
    EXPECT_EQ(sqlQualifiedName("T.Unit Price"), "T.[Unit Price]");
    EXPECT_EQ(sqlQualifiedName("[A.B].c"), "[A.B].c");
    EXPECT_EQ(sqlParameterName("Enter a date:"), "[Enter a date:]");
}

}  // namespace
