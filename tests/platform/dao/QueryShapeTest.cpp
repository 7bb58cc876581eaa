// What a query returns and reads: the ground for QueryDef.Fields.Count and
// for finding inputs that are missing.
#include <gtest/gtest.h>

#include "platform/dao/QueryShape.h"

namespace {

using ql::dao::QueryInput;
using ql::dao::QueryOutput;
using ql::dao::QueryShape;
using Kind = QueryOutput::Kind;

// "col", "*", "T.*", "pivot" for each output, the alias after "=".
std::vector<std::string> outputs(const QueryShape& shape) {
    std::vector<std::string> result;
    for (const QueryOutput& o : shape.outputs) {
        switch (o.kind) {
        case Kind::Column: result.push_back(o.expression + (o.alias ? "=" + *o.alias : "")); break;
        case Kind::AllColumns: result.push_back("*"); break;
        case Kind::AllOfSource: result.push_back(o.source + ".*"); break;
        case Kind::PivotColumns: result.push_back("pivot"); break;
        }
    }
    return result;
}

// "name", "name AS alias", "(derived SQL) AS alias" for each input, and a
// trailing "-" for one that "*" does not expand over.
std::vector<std::string> inputs(const QueryShape& shape) {
    std::vector<std::string> result;
    for (const QueryInput& i : shape.inputs)
        result.push_back((i.sql ? "(" + *i.sql + ")" : i.name) + (i.alias ? " AS " + *i.alias : "") +
                         (i.outer ? "" : "-"));
    return result;
}

using Strings = std::vector<std::string>;

TEST(QueryShapeText, SelectListsWithStarsAliasesAndFunctions) {
    const QueryShape shape = ql::dao::selectTextShape(
        "SELECT DISTINCT TOP 5 T.*, [Order Details].*, Mid(a, 2, 3) AS [Part one], b AS c, * "
        "FROM T, [Order Details] WHERE x IN (1, 2) ORDER BY a");
    EXPECT_TRUE(shape.returnsRows);
    EXPECT_EQ(outputs(shape), (Strings{"T.*", "Order Details.*", "Mid(a, 2, 3)=Part one", "b=c", "*"}));
    EXPECT_EQ(inputs(shape), (Strings{"T", "Order Details"}));
}

TEST(QueryShapeText, JoinsAliasesSubqueriesAndOtherDatabases) {
    const QueryShape shape = ql::dao::selectTextShape(
        "SELECT p.x FROM (A AS p INNER JOIN B b ON (p.k = b.k) AND (p.j = b.j)) LEFT JOIN [C D] ON b.m = [C D].m, "
        "(SELECT y FROM E) AS sub, [SELECT z FROM F]. AS old "
        "WHERE p.x IN (SELECT w FROM G) AND EXISTS (SELECT 1 FROM H IN 'c:\\o.mdb')");
    // Each FROM in turn: the subqueries' sources follow the outer list.
    EXPECT_EQ(inputs(shape), (Strings{"A AS p", "B AS b", "C D", "(SELECT y FROM E) AS sub",
                                      "(SELECT z FROM F) AS old", "E-", "G-", "H-"}));
    EXPECT_EQ(*shape.sourceDatabase, "c:\\o.mdb");
    ASSERT_NE(shape.inputFor("B"), nullptr);
    EXPECT_EQ(shape.inputFor("b")->name, "B");
    EXPECT_EQ(shape.inputFor("A"), nullptr);  // aliased: known only by its alias
    EXPECT_EQ(shape.inputFor("c d")->name, "C D");
}

TEST(QueryShapeText, UnionHalvesAndTableStatements) {
    EXPECT_EQ(outputs(ql::dao::selectTextShape("TABLE Customers UNION TABLE Suppliers")), (Strings{"Customers.*"}));
    EXPECT_EQ(inputs(ql::dao::selectTextShape("TABLE Customers UNION TABLE Suppliers")),
              (Strings{"Customers", "Suppliers-"}));
    const QueryShape nested = ql::dao::selectTextShape("Select a, b\r\nwhere a = \"x, y\"\r\nUNION\r\nSelect c, d FROM T");
    EXPECT_EQ(outputs(nested), (Strings{"a", "b"}));
    EXPECT_EQ(inputs(nested), (Strings{"T-"}));  // the second SELECT's source
}

TEST(QueryShapeText, DamagedTextNeverFails) {
    for (const char* text : {"", "SELECT", "SELECT (", "SELECT a FROM", "FROM (((", "SELECT [unclosed", "\"", "SELECT a FROM T ON ON ,,"})
        EXPECT_NO_THROW(ql::dao::selectTextShape(text)) << text;
}

TEST(QueryShapeRows, AllFieldsFlagAndDerivedSources) {
    std::vector<ql::dao::QueryRow> rows(4);
    rows[0].attribute = 1;
    rows[0].flag = 1;
    rows[1].attribute = 3;
    rows[1].flag = 0x09;
    rows[2].attribute = 5;
    rows[2].name2 = "Q";
    rows[2].expression = "SELECT a FROM T";
    rows[3].attribute = 4;
    rows[3].name1 = "x.mdb";
    const QueryShape shape = ql::dao::queryShape(rows);
    EXPECT_EQ(outputs(shape), (Strings{"*"}));
    EXPECT_EQ(inputs(shape), (Strings{"(SELECT a FROM T) AS Q"}));
    EXPECT_EQ(shape.sourceDatabase, "x.mdb");
}

}  // namespace
