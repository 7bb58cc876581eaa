#include "platform/jetsql/Run.h"

#include "platform/text/Names.h"

namespace ql::jetsql {

namespace {

struct Binding {
    std::string source;  // the alias, or the table's name
    std::string column;
};

struct RowSet {
    std::vector<Binding> columns;
    std::vector<std::vector<Variant>> rows;
};

// The columns of the current row by name. A name no source has is a
// parameter, and Null.
class RowScope : public Scope {
public:
    RowScope(const std::vector<Binding>& columns, const std::vector<Variant>& row) : columns_(columns), row_(row) {}

    Variant value(const Expr& name) const override {
        const std::vector<std::string>& parts = name.parts;
        std::optional<std::size_t> found;
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            const bool match = parts.size() == 1 ? text::sameName(columns_[i].column, parts[0])
                               : parts.size() == 2 ? text::sameName(columns_[i].source, parts[0]) &&
                                                         text::sameName(columns_[i].column, parts[1])
                                                   : false;
            if (!match) continue;
            if (found) {
                throw RuntimeError(run_errors::AmbiguousField,
                                   "The specified field '" + parts.back() +
                                       "' could refer to more than one table listed in the FROM clause of your SQL "
                                       "statement.");
            }
            found = i;
        }
        return found ? row_[*found] : Variant(vb::Null{});
    }

private:
    const std::vector<Binding>& columns_;
    const std::vector<Variant>& row_;
};

[[noreturn]] void notRunHere() {
    throw RuntimeError(run_errors::NotRunHere, "Operation is not supported for this type of object.");
}

RowSet rowsOf(const Source& source, const Tables& tables, const Rules& rules);

RowSet joined(const Source& join, const Tables& tables, const Rules& rules) {
    RowSet left = rowsOf(*join.left, tables, rules), right = rowsOf(*join.right, tables, rules);
    RowSet out;
    out.columns = left.columns;
    out.columns.insert(out.columns.end(), right.columns.begin(), right.columns.end());
    const std::vector<Variant> noLeft(left.columns.size(), vb::Null{}), noRight(right.columns.size(), vb::Null{});
    std::vector<bool> rightMatched(right.rows.size(), false);
    std::vector<Variant> row;
    for (const auto& l : left.rows) {
        bool matched = false;
        for (std::size_t r = 0; r < right.rows.size(); ++r) {
            row = l;
            row.insert(row.end(), right.rows[r].begin(), right.rows[r].end());
            if (!holds(evaluate(*join.on, RowScope(out.columns, row), rules))) continue;
            matched = true;
            rightMatched[r] = true;
            out.rows.push_back(row);
        }
        if (!matched && join.join == Source::JoinType::Left) {
            row = l;
            row.insert(row.end(), noRight.begin(), noRight.end());
            out.rows.push_back(row);
        }
    }
    if (join.join == Source::JoinType::Right)
        for (std::size_t r = 0; r < right.rows.size(); ++r)
            if (!rightMatched[r]) {
                row = noLeft;
                row.insert(row.end(), right.rows[r].begin(), right.rows[r].end());
                out.rows.push_back(row);
            }
    return out;
}

RowSet rowsOf(const Source& source, const Tables& tables, const Rules& rules) {
    switch (source.kind) {
    case Source::Kind::Join: return joined(source, tables, rules);
    case Source::Kind::Derived: notRunHere();  // needs the select list run, which comes with the evaluator's next part
    case Source::Kind::Named: break;
    }
    if (source.database) notRunHere();  // another file's table
    Table table = tables.read(source.name);
    RowSet out;
    const std::string& label = source.alias ? *source.alias : source.name;
    for (auto& column : table.columns) out.columns.push_back({label, std::move(column)});
    out.rows = std::move(table.rows);
    return out;
}

// FROM's sources, each with each.
RowSet fromRows(const Select& select, const Tables& tables, const Rules& rules) {
    RowSet out;
    out.rows.emplace_back();  // no source: one row with no columns
    for (const SourcePtr& source : select.from) {
        RowSet next = rowsOf(*source, tables, rules);
        RowSet product;
        product.columns = out.columns;
        product.columns.insert(product.columns.end(), next.columns.begin(), next.columns.end());
        for (const auto& a : out.rows)
            for (const auto& b : next.rows) {
                product.rows.push_back(a);
                product.rows.back().insert(product.rows.back().end(), b.begin(), b.end());
            }
        out = std::move(product);
    }
    return out;
}

bool sameHeading(const Variant& a, const Variant& b, const Rules& rules) {
    const bool nullA = std::holds_alternative<vb::Null>(a), nullB = std::holds_alternative<vb::Null>(b);
    if (nullA || nullB) return nullA == nullB;
    try {
        return compareValues(a, b, rules) == 0;
    } catch (const RuntimeError&) {
        return false;  // text that is no number beside a number: different headings
    }
}

}  // namespace

std::vector<Variant> pivotHeadings(const Query& crosstab, const Tables& tables, const Rules& rules) {
    if (crosstab.kind != Query::Kind::Crosstab || crosstab.selects.empty() || !crosstab.pivot) notRunHere();
    const Select& select = crosstab.selects.front();
    // Jet refuses this when it compiles the query, whatever the data.
    if (select.where && containsAggregate(*select.where))
        throw evaluationError(evaluation_errors::AggregateInWhere,
                              crosstab.text.substr(select.where->begin, select.where->end - select.where->begin));
    const RowSet rows = fromRows(select, tables, rules);
    std::vector<Variant> headings;
    for (const auto& row : rows.rows) {
        const RowScope scope(rows.columns, row);
        if (select.where && !holds(evaluate(*select.where, scope, rules))) continue;
        Variant heading = evaluate(*crosstab.pivot, scope, rules);
        bool seen = false;
        for (const Variant& h : headings) seen = seen || sameHeading(h, heading, rules);
        if (!seen) headings.push_back(std::move(heading));
    }
    return headings;
}

}  // namespace ql::jetsql
