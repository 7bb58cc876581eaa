#include <gtest/gtest.h>

#include "platform/dao/Dao.h"
#include "platform/dao/QueryRows.h"
#include "platform/jetsql/Parser.h"
#include "tests/support/Corpus.h"

namespace {

using namespace ql::jetsql;

// The tree as a compact text, so that a test shows the whole shape.
std::string show(const ExprPtr& e) {
    if (!e) return "-";
    auto list = [&](std::size_t from) {
        std::string out;
        for (std::size_t i = from; i < e->args.size(); ++i) out += (i > from ? "," : "") + show(e->args[i]);
        return out;
    };
    const std::string no = e->negated ? "NOT " : "";
    switch (e->kind) {
    case Expr::Kind::Null: return "Null";
    case Expr::Kind::Boolean:
    case Expr::Kind::Number: return e->text;
    case Expr::Kind::String: return "'" + e->text + "'";
    case Expr::Kind::Date: return "#" + e->text + "#";
    case Expr::Kind::Name: {
        std::string out = e->parts[0];
        for (std::size_t i = 1; i < e->parts.size(); ++i) out += e->separators[i - 1] + e->parts[i];
        return out;
    }
    case Expr::Kind::Unary: return "(" + e->op + " " + show(e->args[0]) + ")";
    case Expr::Kind::Binary: return "(" + show(e->args[0]) + " " + e->op + " " + show(e->args[1]) + ")";
    case Expr::Kind::Like: return "(" + show(e->args[0]) + " " + no + "LIKE " + show(e->args[1]) + ")";
    case Expr::Kind::IsNull: return "(" + show(e->args[0]) + " IS " + no + "NULL)";
    case Expr::Kind::Between:
        return "(" + show(e->args[0]) + " " + no + "BETWEEN " + show(e->args[1]) + " AND " + show(e->args[2]) + ")";
    case Expr::Kind::InList: return "(" + show(e->args[0]) + " " + no + "IN " + list(1) + ")";
    case Expr::Kind::InQuery: return "(" + show(e->args[0]) + " " + no + "IN query)";
    case Expr::Kind::Exists: return "EXISTS query";
    case Expr::Kind::Subquery: return "query";
    case Expr::Kind::Call: return e->op + "(" + list(0) + ")";
    case Expr::Kind::Star: return "*";
    }
    return "?";
}

TEST(JetSqlExpressions, PrecedenceIsVbas) {
    const std::vector<std::pair<const char*, const char*>> cases = {
        {"1 + 2 * 3 ^ 2", "(1 + (2 * (3 ^ 2)))"},
        {"-2 ^ 2", "(- (2 ^ 2))"},
        {"a & b + 1", "(a & (b + 1))"},
        {"7 \\ 2 MOD 3 * 2", "((7 \\ 2) MOD (3 * 2))"},
        {"NOT a = 1 AND b <> 2 OR c >= 3", "(((NOT (a = 1)) AND (b <> 2)) OR (c >= 3))"},
        {"x Not Like \"A*\" And y Is Not Null", "((x NOT LIKE 'A*') AND (y IS NOT NULL))"},
        {"[Order Date] Between #1/1/1997# And #12/31/1997#", "(Order Date BETWEEN #1/1/1997# AND #12/31/1997#)"},
        {"T.a Not In (1, 'x', Null)", "(T.a NOT IN 1,'x',Null)"},
        {"IIf(IsNull([Forms]![F]![c]), 0, &HFF) + 2^-1", "(IIf(IsNull(Forms!F!c),0,&HFF) + (2 ^ (- 1)))"},
        {"Count(*) > 1E+3", "(Count(*) > 1E+3)"},
    };
    for (const auto& [text, tree] : cases) EXPECT_EQ(show(parseExpression(text)), tree) << text;
}

TEST(JetSqlStatements, ClausesJoinsDerivedTablesAndCrosstabs) {
    const Query q = parseQuery(
        "PARAMETERS [Start] DateTime, [Who] Text ( 255 );\r\n"
        "SELECT DISTINCTROW TOP 25 PERCENT C.Name AS Customer, O.*, *\r\n"
        "FROM Customers AS C INNER JOIN (Orders O LEFT JOIN [Order Details] ON O.ID = [Order Details].OrderID) "
        "ON C.ID = O.CustomerID, [SELECT x FROM T]. AS D\r\n"
        "WHERE O.Date >= [Start] AND EXISTS (SELECT * FROM T WHERE T.x = C.ID)\r\n"
        "GROUP BY C.Name HAVING Sum(O.Total) > 0\r\nORDER BY C.Name DESC, 2\r\nWITH OWNERACCESS OPTION;\r\n");
    ASSERT_EQ(q.parameters.size(), 2u);
    EXPECT_EQ(q.parameters[1].name, "Who");
    EXPECT_EQ(q.parameters[1].type, "Text ( 255 )");
    const Select& s = q.selects.at(0);
    EXPECT_EQ(s.predicate, Select::Predicate::DistinctRow);
    EXPECT_EQ(s.top, "25");
    EXPECT_TRUE(s.topPercent);
    ASSERT_EQ(s.items.size(), 3u);
    EXPECT_EQ(s.items[0].alias, "Customer");
    EXPECT_EQ(s.items[1].kind, SelectItem::Kind::AllOf);
    EXPECT_EQ(s.items[1].source, "O");
    EXPECT_EQ(s.items[2].kind, SelectItem::Kind::AllColumns);
    ASSERT_EQ(s.from.size(), 2u);
    const Source& join = *s.from[0];
    ASSERT_EQ(join.kind, Source::Kind::Join);
    EXPECT_EQ(join.left->alias, "C");
    ASSERT_EQ(join.right->kind, Source::Kind::Join);
    EXPECT_EQ(join.right->join, Source::JoinType::Left);
    EXPECT_EQ(join.right->left->alias, "O");
    EXPECT_EQ(show(join.on), "(C.ID = O.CustomerID)");
    EXPECT_EQ(s.from[1]->kind, Source::Kind::Derived);
    EXPECT_EQ(s.from[1]->alias, "D");
    EXPECT_EQ(show(s.having), "(Sum(O.Total) > 0)");
    ASSERT_EQ(q.orderBy.size(), 2u);
    EXPECT_TRUE(q.orderBy[0].descending);
    EXPECT_TRUE(q.ownerAccess);

    const Query crosstab = parseQuery(
        "TRANSFORM Sum(x) AS s SELECT a FROM T GROUP BY a PIVOT Format(d, \"yyyy\") In (\"1996\", \"1997\");");
    EXPECT_EQ(crosstab.kind, Query::Kind::Crosstab);
    EXPECT_EQ(show(crosstab.pivot), "Format(d,'yyyy')");
    ASSERT_TRUE(crosstab.pivotIn.has_value());
    EXPECT_EQ(crosstab.pivotIn->size(), 2u);

    // A union whose first half Access saved with its own ORDER BY and ";".
    const Query u = parseQuery("SELECT a FROM T ORDER BY a;\r\n\r\nUNION ALL SELECT b FROM U ORDER BY 1 DESC;");
    EXPECT_EQ(u.kind, Query::Kind::Union);
    EXPECT_EQ(u.unionAll, std::vector<bool>{true});
    ASSERT_EQ(u.orderBy.size(), 1u);
    EXPECT_TRUE(u.orderBy[0].descending);
}

TEST(JetSqlStatements, WhatIsNotJetSqlIsRefusedWithWhereItStopped) {
    for (const char* text : {"SELECT a FROM", "SELECT a FROM T WHERE (a = 1", "SELECT a b c FROM T",
                             "UPDATE T SET a = 1", "SELECT a FROM T; junk"}) {
        EXPECT_THROW(parseQuery(text), SyntaxError) << text;
    }
    try {
        parseQuery("SELECT a FROM T WHERE a = = 1");
        FAIL();
    } catch (const SyntaxError& e) {
        EXPECT_EQ(e.offset(), 26u);
    }
}

// Every select, union and crosstab query saved in the corpus, as DAO gives
// its SQL, reads without an error.
TEST(JetSqlCorpus, EverySavedSelectUnionAndCrosstabParses) {
    int parsed = 0;
    for (const std::string& file : ql::test::jetDatabases()) {
        std::optional<ql::dao::Database> db;
        try {
            ql::dao::DBEngine engine;
            db = engine.OpenDatabase(ql::test::corpusFile(file).string(), false, true,
                                     file == "j4_pwd2003.mdb" ? ";PWD=password" : "");
        } catch (const std::exception&) {
            continue;
        }
        for (const auto& q : db->QueryDefs()) {
            using ql::dao::daoQueryType, ql::dao::QueryKind;
            const int type = q.Type();
            if (type != daoQueryType(QueryKind::Select) && type != daoQueryType(QueryKind::Crosstab) &&
                type != daoQueryType(QueryKind::Union))
                continue;
            SCOPED_TRACE(file + ": " + q.Name());
            const std::string sql = q.SQL();
            try {
                const Query query = parseQuery(sql);
                EXPECT_EQ(query.kind == Query::Kind::Union, type == daoQueryType(QueryKind::Union));
                ++parsed;
            } catch (const SyntaxError& e) {
                ADD_FAILURE() << e.what() << " at " << e.offset() << " in\n" << sql;
            }
        }
    }
    EXPECT_EQ(parsed, 224);  // all of them, from every database the default user can open
}

}  // namespace

namespace {

// A statement built to exhaust the stack is refused, not followed down.
TEST(JetSqlStatements, TooDeepIsTooComplex) {
    const std::string nested = "SELECT " + std::string(5000, '(') + "1" + std::string(5000, ')') + " FROM T";
    EXPECT_THROW(ql::jetsql::parseQuery(nested), ql::jetsql::SyntaxError);
    std::string chain = "SELECT 1";
    for (int i = 0; i < 5000; ++i) chain += " + 1";
    EXPECT_THROW(ql::jetsql::parseQuery(chain + " FROM T"), ql::jetsql::SyntaxError);
}

}  // namespace
