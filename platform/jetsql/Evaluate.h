#pragma once
// The value of an expression of Jet SQL for one row, under Jet's rules: Null
// passes through arithmetic and comparisons, "&" reads Null as "", AND and
// OR use three-valued logic, text compares by the database's sort order,
// LIKE takes Jet's wildcards (* ? # [a-z] [!a-z]). Values are VB Variants.
// Errors carry the numbers DAO gives them.
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/RuntimeError.h"
#include "platform/jetsql/Syntax.h"
#include "platform/vb/Variant.h"

namespace ql::jetsql {

using vb::Variant;

namespace evaluation_errors {
inline constexpr int Overflow = 6;
inline constexpr int DivisionByZero = 11;
inline constexpr int UndefinedFunction = 3085;
inline constexpr int AggregateInExpression = 3095;
inline constexpr int AggregateInWhere = 3096;
inline constexpr int TypeMismatch = 3464;
inline constexpr int UnknownName = 3070;
inline constexpr int SubqueryRows = 3354;
}  // namespace evaluation_errors

// The error with its number and Jet's text ("|" in the text is `name`).
RuntimeError evaluationError(int number, const std::string& name = {});

// What a name in an expression stands for in the current row. Throws the
// error for a name that stands for nothing.
class Scope {
public:
    virtual ~Scope() = default;
    virtual Variant value(const Expr& name) const = 0;
    // An aggregate call (Count, Sum ...) over the rows of the current group;
    // a scope of one row has no group, and the call is refused (3096).
    virtual std::optional<Variant> aggregate(const Expr& call) const { return std::nullopt; }
    // The rows a sub-query gives, run where this row can be seen from it (a
    // correlated sub-query reads the row's columns); nullopt where no data
    // can be reached.
    virtual std::optional<std::vector<std::vector<Variant>>> rowsOf(const Query& subquery) const {
        return std::nullopt;
    }
};

struct Rules {
    // Orders two texts: negative, zero or positive. Jet compares text by
    // the database's sort order, which ignores case.
    std::function<int(const std::string&, const std::string&)> compareText;
    // Rows a FROM may make before a run stops with 3035 "System resource
    // exceeded." rather than fill memory: every row is held today, and a
    // cross product grows fast.
    std::size_t maxRows = 5'000'000;
};

// A case-insensitive comparison for rules that are not a database's.
int compareWithoutCase(const std::string& a, const std::string& b);

Variant evaluate(const Expr& expression, const Scope& scope, const Rules& rules);

// Orders two values as "<" and ">" do: negative, zero or positive; nullopt
// when either is Null. Text beside a number must read as one (3464).
std::optional<int> compareValues(const Variant& a, const Variant& b, const Rules& rules);

// A number of any kind, or text that reads as one; nullopt otherwise.
std::optional<double> numberValue(const Variant& value);
// Yes/No, Byte, Integer or Long.
bool isWholeValue(const Variant& value);

// Count, Sum, Avg, Min, Max, First, Last, StDev(P), Var(P).
bool isAggregate(const std::string& function);
// An aggregate call in the expression, outside any sub-query.
bool containsAggregate(const Expr& expression);

// A condition holds: True; Null and False do not.
bool holds(const Variant& value);

// The date a literal #...# stands for (month first, as Jet reads them),
// as days since 1899-12-30; nullopt when it is not a date.
std::optional<double> dateLiteral(const std::string& text);

}  // namespace ql::jetsql
