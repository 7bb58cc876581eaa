#include <gtest/gtest.h>

#include "platform/jetsql/Parser.h"
#include "platform/jetsql/Run.h"
#include "platform/vb/VbText.h"

namespace {

using namespace ql::jetsql;
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
        try {
            evaluate(*parseExpression(expression), Fixed(), Rules{});
        } catch (const ql::RuntimeError& e) {
            return e.number();
        }
        return 0;
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
    try {
        headings("TRANSFORM Count(*) SELECT 1 FROM Emp, Dept PIVOT Id");
        ADD_FAILURE();
    } catch (const ql::RuntimeError& e) {
        EXPECT_EQ(e.number(), run_errors::AmbiguousField);
    }
}

}  // namespace
