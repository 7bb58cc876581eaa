#pragma once
// Runs a select over the file's data: the FROM sources with their joins,
// WHERE, grouping with aggregates and HAVING, the select list, DISTINCT,
// ORDER BY and TOP; and the question a crosstab's field count asks: which
// column headings does the data give. Unions run too; a crosstab's own
// result comes next.
#include <string>
#include <vector>

#include "platform/jetsql/Evaluate.h"

namespace ql::jetsql {

// A table or saved query's rows, with its column names.
struct Table {
    std::vector<std::string> columns;
    std::vector<std::vector<Variant>> rows;
};

// Where the rows of a named source come from. Throws the DAO error for a
// source that does not exist or cannot be read.
class Tables {
public:
    virtual ~Tables() = default;
    virtual Table read(const std::string& name) const = 0;
};

namespace run_errors {
inline constexpr int AmbiguousField = 3079;
inline constexpr int NotRunHere = 3251;  // "Operation is not supported for this type of object."
inline constexpr int ResourceExceeded = 3035;  // "System resource exceeded."
inline constexpr int UnionColumns = 3307;
}  // namespace run_errors

// What a select returns: its column names and its rows in order.
struct Result {
    std::vector<std::string> columns;
    std::vector<std::vector<Variant>> rows;
};

// Runs a select or union statement. Parameters read as Null.
Result runSelect(const Query& query, const Tables& tables, const Rules& rules);

// The distinct values of a crosstab's PIVOT expression over the rows its
// FROM and WHERE give, in the order met. Names the query does not define are
// parameters, and read as Null (DAO counts a query's fields without asking
// for them). Null is a value of its own, as Access gives it a column.
std::vector<Variant> pivotHeadings(const Query& crosstab, const Tables& tables, const Rules& rules);

}  // namespace ql::jetsql
