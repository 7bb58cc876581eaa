#include <gtest/gtest.h>

#include "platform/jetsql/Parser.h"
#include "platform/jetsql/Run.h"
#include "platform/vb/VbText.h"
#include "tests/support/RuntimeErrors.h"

namespace {

using namespace ql::jetsql;
using ql::test::errorNumberOf;
namespace vb = ql::vb;

// Names read from a fixed row.
class Fixed : public Scope {
public:
    Variant value(const Expr& name) const override {
        const std::string& n = name.parts.back();
        if (n == "n") return std::int32_t{7};
        if (n == "t") return std::string("Straße");
        if (n == "d") return vb::Date{35431};  // 1997-01-01
        if (n == "m") return vb::Currency{125000};
        return vb::Null{};
    }
};

std::string valueText(const std::string& expression) {
    const Variant v = evaluate(*parseExpression(expression), Fixed(), Rules{});
    if (std::holds_alternative<vb::Null>(v)) return "Null";
    std::string type = std::holds_alternative<std::string>(v) ? "s:" : std::holds_alternative<bool>(v) ? "b:"
                       : std::holds_alternative<vb::Date>(v)   ? "d:"
                       : std::holds_alternative<vb::Currency>(v) ? "c:"
                       : std::holds_alternative<double>(v)       ? "f:"
                                                                 : "i:";
    return type + vb::CStr(v);
}

TEST(JetSqlValues, JetsRulesForNullTypesTextAndDates) {
    const std::vector<std::pair<const char*, const char*>> cases = {
        {"1 + 2 * 3", "i:7"},          {"7 / 2", "f:3.5"},           {"7 \\ 2", "i:3"},
        {"7 Mod 3", "i:1"},            {"2 ^ 10", "f:1024"},         {"n + 0.5", "f:7.5"},
        {"m * 2", "c:25"},             {"nothing + 1", "Null"},      {"nothing & 'x'", "s:x"},
        {"n & '!'", "s:7!"},           {"'a' + 'b'", "s:ab"},        {"'10' + 1", "f:11"},
        {"d + 1", "d:1/2/1997"},       {"#1/31/1997# - d", "f:30"},  {"'abc' = 'ABC'", "b:True"},
        {"'b' > 'A'", "b:True"},       {"n > '10'", "b:False"},      {"nothing = Null", "Null"},
        {"nothing Is Null", "b:True"}, {"False And nothing", "b:False"}, {"True Or nothing", "b:True"},
        {"True And nothing", "Null"},  {"Not nothing", "Null"},      {"t Like 'STR*'", "b:True"},
        {"'a1' Like '[a-c]#'", "b:True"}, {"'d1' Like '[!a-c]?'", "b:True"}, {"'ab' Like 'a'", "b:False"},
        {"n Between 1 And 7", "b:True"}, {"n Not In (1, 2)", "b:True"}, {"n In (1, Null)", "Null"},
        {"IIf(n > 5, 'big', 'small')", "s:big"}, {"Nz(nothing, 0)", "i:0"}, {"Left(t, 3)", "s:Str"},
        {"Mid(t, 4, 2)", "s:aß"},      {"Len(t)", "i:6"},            {"Trim('  x ')", "s:x"},
        {"Year(d)", "i:1997"},         {"DatePart('q', #8/15/1997#)", "i:3"}, {"Format(n, '000')", "s:007"},
        {"CCur(1.23456)", "c:1.2346"}, {"Abs(-n)", "i:7"},           {"&H10 + 1", "i:17"},
        {"#1997-02-03 13:30#", "d:2/3/1997 1:30:00 PM"},
    };
    for (const auto& [expression, expected] : cases) EXPECT_EQ(valueText(expression), expected) << expression;
}

TEST(JetSqlValues, ErrorsCarryJetsNumbers) {
    auto numberOf = [](const char* expression) {
        return errorNumberOf([&] { evaluate(*parseExpression(expression), Fixed(), Rules{}); });
    };
    EXPECT_EQ(numberOf("1 / 0"), evaluation_errors::DivisionByZero);
    EXPECT_EQ(numberOf("n > 'abc'"), evaluation_errors::TypeMismatch);
    EXPECT_EQ(numberOf("MyVbaFunction(n)"), evaluation_errors::UndefinedFunction);
    EXPECT_EQ(numberOf("Sum(n) > 1"), evaluation_errors::AggregateInWhere);
}

// Stars retry from the last one only: a pattern made to backtrack
// exponentially still answers at once.
TEST(JetSqlValues, LikeWithManyStarsStaysFast) {
    const std::string text = "'" + std::string(2000, 'a') + "'";
    std::string pattern = "'";
    for (int i = 0; i < 30; ++i) pattern += "*a";
    EXPECT_EQ(valueText(text + " Like " + pattern + "*b'"), "b:False");
    EXPECT_EQ(valueText(text + " Like " + pattern + "'"), "b:True");
    EXPECT_EQ(valueText("'x[y' Like 'x[y'"), "b:True");  // an unclosed bracket is itself
}

class Memory : public Tables {
public:
    Table read(const std::string& name) const override {
        if (name == "Emp") return {{"Id", "Dept", "Post"}, {{std::int32_t{1}, std::int32_t{10}, std::string("clerk")},
                                                            {std::int32_t{2}, std::int32_t{10}, std::string("CLERK")},
                                                            {std::int32_t{3}, std::int32_t{20}, vb::Null{}},
                                                            {std::int32_t{4}, std::int32_t{30}, std::string("boss")}}};
        if (name == "Dept") return {{"Id", "Name"}, {{std::int32_t{10}, std::string("Sales")},
                                                     {std::int32_t{20}, std::string("Stock")},
                                                     {std::int32_t{40}, std::string("Empty")}}};
        throw ql::RuntimeError(3078, "no " + name);
    }
};

std::vector<std::string> headings(const std::string& sql) {
    std::vector<std::string> out;
    for (const Variant& v : pivotHeadings(parseQuery(sql), Memory(), Rules{}))
        out.push_back(std::holds_alternative<vb::Null>(v) ? "<>" : vb::CStr(v));
    return out;
}

TEST(JetSqlRun, CrosstabHeadingsComeFromJoinedFilteredRows) {
    using V = std::vector<std::string>;
    // Text headings group without regard to case; Null is a heading of its own.
    EXPECT_EQ(headings("TRANSFORM Count(Id) SELECT Dept FROM Emp GROUP BY Dept PIVOT Post"), (V{"clerk", "<>", "boss"}));
    EXPECT_EQ(headings("TRANSFORM Count(*) SELECT 1 FROM Emp WHERE Dept < [Limit] OR Dept = 30 PIVOT Post"), (V{"boss"}));
    EXPECT_EQ(headings("TRANSFORM Count(*) SELECT 1 FROM Emp AS E INNER JOIN Dept AS D ON E.Dept = D.Id PIVOT D.Name"),
              (V{"Sales", "Stock"}));
    EXPECT_EQ(headings("TRANSFORM Count(*) SELECT 1 FROM Emp LEFT JOIN Dept ON Emp.Dept = Dept.Id PIVOT Name"),
              (V{"Sales", "Stock", "<>"}));
    EXPECT_EQ(headings("TRANSFORM Count(*) SELECT 1 FROM Emp RIGHT JOIN Dept ON Emp.Dept = Dept.Id PIVOT Name"),
              (V{"Sales", "Stock", "Empty"}));
    EXPECT_EQ(headings("TRANSFORM Count(*) SELECT 1 FROM Emp, Dept WHERE Emp.Dept = Dept.Id AND Emp.Id > 1 PIVOT Name"),
              (V{"Sales", "Stock"}));
    EXPECT_EQ(errorNumberOf([&] { headings("TRANSFORM Count(*) SELECT 1 FROM Emp, Dept PIVOT Id"); }), run_errors::AmbiguousField);
}

}  // namespace

namespace {

std::vector<std::string> resultText(const std::string& sql) {
    const Result result = runSelect(parseQuery(sql), Memory(), Rules{});
    std::vector<std::string> out;
    std::string header;
    for (const auto& c : result.columns) header += (header.empty() ? "" : "|") + c;
    out.push_back(header);
    for (const auto& row : result.rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i)
            line += (i ? "|" : "") + (std::holds_alternative<vb::Null>(row[i]) ? std::string("Null") : vb::CStr(row[i]));
        out.push_back(line);
    }
    return out;
}

TEST(JetSqlRun, SelectsGroupFilterSortDistinctAndTop) {
    using V = std::vector<std::string>;
    EXPECT_EQ(resultText("SELECT Dept, Count(*) AS N, Sum(Id) FROM Emp GROUP BY Dept HAVING Count(*) >= 1 "
                         "ORDER BY Dept DESC"),
              (V{"Dept|N|Expr1000", "30|1|4", "20|1|3", "10|2|3"}));
    // Without GROUP BY all rows, even none, are one group.
    EXPECT_EQ(resultText("SELECT Count(*), Sum(Id), Max(Post) FROM Emp WHERE Id > 99"),
              (V{"Expr1000|Expr1001|Expr1002", "0|Null|Null"}));
    // DISTINCT compares text without regard to case; Null sorts first.
    EXPECT_EQ(resultText("SELECT DISTINCT Post FROM Emp ORDER BY Post"), (V{"Post", "Null", "boss", "clerk"}));
    // TOP keeps the rows tied with the last one.
    EXPECT_EQ(resultText("SELECT TOP 1 Id FROM Emp ORDER BY Dept"), (V{"Id", "1", "2"}));
    EXPECT_EQ(resultText("SELECT TOP 50 PERCENT * FROM Emp"), (V{"Id|Dept|Post", "1|10|clerk", "2|10|CLERK"}));
    // A derived table in Access's own form, joined like any source.
    EXPECT_EQ(resultText("SELECT Big.Name, E.Id FROM [SELECT Id, Name FROM Dept WHERE Id < 30]. AS Big "
                         "INNER JOIN Emp AS E ON E.Dept = Big.Id ORDER BY E.Id DESC"),
              (V{"Name|Id", "Stock|3", "Sales|2", "Sales|1"}));
    EXPECT_EQ(resultText("SELECT E.*, D.Name FROM Emp AS E LEFT JOIN Dept AS D ON E.Dept = D.Id WHERE D.Name Is Null"),
              (V{"Id|Dept|Post|Name", "4|30|boss|Null"}));
    // A parameter without a value is Null, so only a test for Null lets the row through.
    EXPECT_EQ(resultText("SELECT Id FROM Emp WHERE Id <> [Skip]"), (V{"Id"}));
    EXPECT_EQ(resultText("SELECT Id * 2 AS Twice, Post & '!' FROM Emp WHERE Post Like 'c*' AND "
                         "(Id <> [Skip] OR [Skip] Is Null)"),
              (V{"Twice|Expr1000", "2|clerk!", "4|CLERK!"}));
    // Sub-queries: a value, IN and a correlated EXISTS.
    EXPECT_EQ(resultText("SELECT Id FROM Emp WHERE Id > (SELECT Avg(Id) FROM Emp)"), (V{"Id", "3", "4"}));
    EXPECT_EQ(resultText("SELECT Name FROM Dept WHERE Id Not In (SELECT Dept FROM Emp)"), (V{"Name", "Empty"}));
    EXPECT_EQ(resultText("SELECT D.Name FROM Dept AS D WHERE EXISTS (SELECT * FROM Emp WHERE Emp.Dept = D.Id AND "
                         "Post Is Null)"),
              (V{"Name", "Stock"}));
    EXPECT_EQ(errorNumberOf([&] { resultText("SELECT Id FROM Emp WHERE Id = (SELECT Id FROM Dept)"); }), evaluation_errors::SubqueryRows);
    // Unions: UNION leaves one of each row, UNION ALL keeps them all, and
    // ORDER BY names the first half's columns.
    EXPECT_EQ(resultText("SELECT Dept FROM Emp UNION SELECT Id FROM Dept ORDER BY Dept DESC"),
              (V{"Dept", "40", "30", "20", "10"}));
    EXPECT_EQ(resultText("SELECT Dept FROM Emp UNION ALL SELECT Id FROM Dept").size(), 8u);
    EXPECT_EQ(errorNumberOf([&] { resultText("SELECT Id, Post FROM Emp UNION SELECT Id FROM Dept"); }), run_errors::UnionColumns);
    Rules small;
    small.maxRows = 10;
    EXPECT_EQ(errorNumberOf([&] { runSelect(parseQuery("SELECT * FROM Emp, Dept"), Memory(), small); }),  // 12 rows
              run_errors::ResourceExceeded);
    try {
        resultText("SELECT Id FROM Emp WHERE Sum(Id) > 1");
        ADD_FAILURE();
    } catch (const ql::RuntimeError& e) {
        EXPECT_EQ(e.number(), evaluation_errors::AggregateInWhere);
        EXPECT_EQ(e.description(), "Cannot have aggregate function in WHERE clause (Sum(Id) > 1).");
    }
}

}  // namespace
