#include "platform/jetsql/Run.h"

#include <algorithm>
#include <cmath>
#include <strings.h>

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

// What a run needs to start a sub-query from inside a row: where tables
// come from, the rules, and the row of the statement around it.
struct RunContext {
    const Tables& tables;
    const Rules& rules;
    const Scope* outer;  // the enclosing statement's row, for correlated sub-queries
};

Result runSelectWithin(const Query& query, const RunContext& context);

// The columns of the current row by name; a name the row does not have is
// looked for in the enclosing statement's row, and otherwise is a
// parameter, and Null.
class RowScope : public Scope {
public:
    RowScope(const std::vector<Binding>& columns, const std::vector<Variant>& row,
             const RunContext* context = nullptr)
        : columns_(columns), row_(row), context_(context) {}

    std::optional<std::vector<std::vector<Variant>>> rowsOf(const Query& subquery) const override {
        if (!context_) return std::nullopt;
        return runSelectWithin(subquery, {context_->tables, context_->rules, this}).rows;
    }

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
        if (found) return row_[*found];
        if (context_ && context_->outer) return context_->outer->value(name);
        return vb::Null{};
    }

private:
    const std::vector<Binding>& columns_;
    const std::vector<Variant>& row_;
    const RunContext* context_;
};

void checkSize(const RowSet& rows, const Rules& rules) {
    if (rows.rows.size() > rules.maxRows)
        throw RuntimeError(run_errors::ResourceExceeded, "System resource exceeded.");
}

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
            checkSize(out, rules);
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
    case Source::Kind::Derived: {
        Result derived = runSelect(*source.query, tables, rules);
        RowSet out;
        for (auto& column : derived.columns) out.columns.push_back({source.alias.value_or(""), std::move(column)});
        out.rows = std::move(derived.rows);
        return out;
    }
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
                checkSize(product, rules);
            }
        out = std::move(product);
    }
    return out;
}

// Equal as GROUP BY and DISTINCT see values: Nulls are one value; text
// that is no number beside a number is different.
bool sameValue(const Variant& a, const Variant& b, const Rules& rules) {
    const bool nullA = std::holds_alternative<vb::Null>(a), nullB = std::holds_alternative<vb::Null>(b);
    if (nullA || nullB) return nullA == nullB;
    try {
        return compareValues(a, b, rules) == 0;
    } catch (const RuntimeError&) {
        return false;  // text that is no number beside a number: different headings
    }
}

bool isNullValue(const Variant& v) { return std::holds_alternative<vb::Null>(v); }

// Count, Sum, Avg, Min, Max, First, Last, StDev(P), Var(P) over the values
// of their argument in a group's rows. Null values are left out, except by
// First and Last, which take the first and last row as they come.
Variant aggregateOf(const std::string& function, const std::vector<Variant>& values, std::size_t rowCount,
                    bool star, const Rules& rules) {
    auto is = [&](const char* name) { return strcasecmp(function.c_str(), name) == 0; };
    if (is("First")) return values.empty() ? Variant(vb::Null{}) : values.front();
    if (is("Last")) return values.empty() ? Variant(vb::Null{}) : values.back();
    std::vector<const Variant*> present;
    for (const Variant& v : values)
        if (!isNullValue(v)) present.push_back(&v);
    if (is("Count")) return static_cast<std::int32_t>(star ? rowCount : present.size());
    if (present.empty()) return vb::Null{};
    if (is("Min") || is("Max")) {
        const Variant* best = present.front();
        for (const Variant* v : present) {
            const auto c = compareValues(*v, *best, rules);
            if (c && (is("Min") ? *c < 0 : *c > 0)) best = v;
        }
        return *best;
    }
    // Sum keeps whole numbers and money exact; Avg and the deviations are
    // Double (Avg of money stays money).
    // Exact sums that leave 64 bits overflow, as VB's do.
    auto add = [](std::int64_t& total, std::int64_t value) {
        if (__builtin_add_overflow(total, value, &total)) throw evaluationError(evaluation_errors::Overflow);
    };
    bool whole = true, money = false, exact = true;  // exact: only whole numbers and money
    std::int64_t wholeSum = 0, moneySum = 0;
    double sum = 0;
    std::vector<double> numbers;
    for (const Variant* v : present) {
        const auto n = numberValue(*v);
        if (!n) throw evaluationError(evaluation_errors::TypeMismatch);
        numbers.push_back(*n);
        sum += *n;
        if (const auto* c = std::get_if<vb::Currency>(v)) {
            money = true;
            whole = false;
            add(moneySum, c->tenThousandths);
        } else if (isWholeValue(*v)) {
            add(wholeSum, static_cast<std::int64_t>(*n));
            add(moneySum, static_cast<std::int64_t>(*n) * 10000);
        } else {
            whole = exact = false;
        }
    }
    const double count = static_cast<double>(numbers.size());
    if (is("Sum")) {
        if (whole) return wholeSum >= INT32_MIN && wholeSum <= INT32_MAX ? Variant(static_cast<std::int32_t>(wholeSum))
                                                                          : Variant(static_cast<double>(wholeSum));
        if (money && exact) return vb::Currency{moneySum};
        return sum;
    }
    if (is("Avg")) {
        if (money) return vb::Currency{static_cast<std::int64_t>(std::llround(sum / count * 10000.0))};
        return sum / count;
    }
    // StDev, StDevP, Var, VarP: the sample forms need two values.
    const bool population = is("StDevP") || is("VarP");
    if (!population && numbers.size() < 2) return vb::Null{};
    const double mean = sum / count;
    double squares = 0;
    for (double n : numbers) squares += (n - mean) * (n - mean);
    const double variance = squares / (population ? count : count - 1);
    return is("Var") || is("VarP") ? variance : std::sqrt(variance);
}

// A group of rows: names read from its first row, aggregates over all.
class GroupScope : public Scope {
public:
    GroupScope(const std::vector<Binding>& columns, const std::vector<const std::vector<Variant>*>& rows,
               const RunContext& context)
        : columns_(columns), rows_(rows), rules_(context.rules), context_(context) {}

    Variant value(const Expr& name) const override { return first().value(name); }

    std::optional<std::vector<std::vector<Variant>>> rowsOf(const Query& subquery) const override {
        return first().rowsOf(subquery);
    }

    std::optional<Variant> aggregate(const Expr& call) const override {
        const bool star = !call.args.empty() && call.args[0]->kind == Expr::Kind::Star;
        std::vector<Variant> values;
        if (!star && !call.args.empty()) {
            if (containsAggregate(*call.args[0]))
                throw evaluationError(evaluation_errors::AggregateInExpression, call.op + "(...)");
            for (const auto* row : rows_)
                values.push_back(evaluate(*call.args[0], RowScope(columns_, *row, &context_), rules_));
        }
        return aggregateOf(call.op, values, rows_.size(), star, rules_);
    }

private:
    RowScope first() const {
        static const std::vector<Variant> none;
        return RowScope(columns_, rows_.empty() ? none : *rows_.front(), &context_);
    }

    const std::vector<Binding>& columns_;
    const std::vector<const std::vector<Variant>*>& rows_;
    const Rules& rules_;
    const RunContext& context_;
};

// A column's name as Access gives it: the alias, a plain field's own name,
// or Expr1000, Expr1001 ... for the rest.
std::string columnName(const SelectItem& item, int& unnamed) {
    if (item.alias) return *item.alias;
    if (item.value->kind == Expr::Kind::Name) return item.value->parts.back();
    return "Expr" + std::to_string(1000 + unnamed++);
}

bool selectsAggregates(const Select& select) {
    for (const auto& item : select.items)
        if (item.value && containsAggregate(*item.value)) return true;
    return select.having != nullptr;
}

struct OutputRow {
    std::vector<Variant> values;
    std::vector<Variant> keys;  // ORDER BY, evaluated where the row came from
};

bool sameRow(const std::vector<Variant>& a, const std::vector<Variant>& b, const Rules& rules) {
    for (std::size_t i = 0; i < a.size(); ++i)
        if (!sameValue(a[i], b[i], rules)) return false;
    return true;
}

// ORDER BY keys compared: Null first, descending items reversed.
int compareKeys(const std::vector<Variant>& a, const std::vector<Variant>& b, const std::vector<OrderItem>& order,
                const Rules& rules) {
    for (std::size_t k = 0; k < order.size(); ++k) {
        const bool nullA = isNullValue(a[k]), nullB = isNullValue(b[k]);
        int c = nullA || nullB ? (nullA == nullB ? 0 : nullA ? -1 : 1) : compareValues(a[k], b[k], rules).value_or(0);
        if (order[k].descending) c = -c;
        if (c != 0) return c;
    }
    return 0;
}

// A union's ORDER BY names the result's columns, by their names alone.
class ResultScope : public Scope {
public:
    ResultScope(const std::vector<std::string>& columns, const std::vector<Variant>& row)
        : columns_(columns), row_(row) {}
    Variant value(const Expr& name) const override {
        for (std::size_t i = 0; i < columns_.size(); ++i)
            if (text::sameName(columns_[i], name.parts.back())) return row_[i];
        return vb::Null{};
    }

private:
    const std::vector<std::string>& columns_;
    const std::vector<Variant>& row_;
};

Result runOne(const Query& query, const Select& select, const std::vector<OrderItem>& orderBy,
              const RunContext& context);

}  // namespace

std::vector<Variant> pivotHeadings(const Query& crosstab, const Tables& tables, const Rules& rules) {
    if (crosstab.kind != Query::Kind::Crosstab || crosstab.selects.empty() || !crosstab.pivot) notRunHere();
    const Select& select = crosstab.selects.front();
    // Jet refuses this when it compiles the query, whatever the data.
    if (select.where && containsAggregate(*select.where))
        throw evaluationError(evaluation_errors::AggregateInWhere,
                              crosstab.text.substr(select.where->begin, select.where->end - select.where->begin));
    const RowSet rows = fromRows(select, tables, rules);
    const RunContext context{tables, rules, nullptr};
    std::vector<Variant> headings;
    for (const auto& row : rows.rows) {
        const RowScope scope(rows.columns, row, &context);
        if (select.where && !holds(evaluate(*select.where, scope, rules))) continue;
        Variant heading = evaluate(*crosstab.pivot, scope, rules);
        bool seen = false;
        for (const Variant& h : headings) seen = seen || sameValue(h, heading, rules);
        if (!seen) headings.push_back(std::move(heading));
    }
    return headings;
}

namespace {

Result runOne(const Query& query, const Select& select, const std::vector<OrderItem>& orderBy,
              const RunContext& context) {
    const Tables& tables = context.tables;
    const Rules& rules = context.rules;
    if (select.where && containsAggregate(*select.where))
        throw evaluationError(evaluation_errors::AggregateInWhere,
                              query.text.substr(select.where->begin, select.where->end - select.where->begin));
    RowSet rows = fromRows(select, tables, rules);
    std::vector<const std::vector<Variant>*> kept;
    for (const auto& row : rows.rows)
        if (!select.where || holds(evaluate(*select.where, RowScope(rows.columns, row, &context), rules)))
            kept.push_back(&row);

    Result result;
    int unnamed = 0;
    for (const SelectItem& item : select.items) {
        if (item.kind == SelectItem::Kind::Value) {
            result.columns.push_back(columnName(item, unnamed));
            continue;
        }
        for (const Binding& b : rows.columns)
            if (item.kind == SelectItem::Kind::AllColumns || text::sameName(b.source, item.source))
                result.columns.push_back(b.column);
    }

    // One output row from a scope: the select list, and the sort keys.
    std::vector<OutputRow> out;
    auto emit = [&](const Scope& scope, const std::vector<Variant>* sourceRow) {
        OutputRow row;
        for (const SelectItem& item : select.items) {
            if (item.kind == SelectItem::Kind::Value) {
                row.values.push_back(evaluate(*item.value, scope, rules));
                continue;
            }
            if (!sourceRow) notRunHere();  // "*" beside aggregates
            for (std::size_t i = 0; i < rows.columns.size(); ++i)
                if (item.kind == SelectItem::Kind::AllColumns || text::sameName(rows.columns[i].source, item.source))
                    row.values.push_back((*sourceRow)[i]);
        }
        for (const OrderItem& order : orderBy) row.keys.push_back(evaluate(*order.value, scope, rules));
        out.push_back(std::move(row));
    };

    if (!select.groupBy.empty() || selectsAggregates(select)) {
        // Groups in the order their first rows come; without GROUP BY, all
        // rows (even none) are one group.
        std::vector<std::vector<const std::vector<Variant>*>> groups;
        std::vector<std::vector<Variant>> groupKeys;
        if (select.groupBy.empty()) groups.emplace_back(kept);
        for (const auto* row : select.groupBy.empty() ? std::vector<const std::vector<Variant>*>{} : kept) {
            std::vector<Variant> key;
            for (const auto& g : select.groupBy)
                key.push_back(evaluate(*g, RowScope(rows.columns, *row, &context), rules));
            std::size_t at = 0;
            for (; at < groupKeys.size(); ++at) {
                bool same = true;
                for (std::size_t k = 0; k < key.size() && same; ++k) same = sameValue(groupKeys[at][k], key[k], rules);
                if (same) break;
            }
            if (at == groupKeys.size()) {
                groupKeys.push_back(key);
                groups.emplace_back();
            }
            groups[at].push_back(row);
        }
        for (const auto& group : groups) {
            const GroupScope scope(rows.columns, group, context);
            if (select.having && !holds(evaluate(*select.having, scope, rules))) continue;
            emit(scope, nullptr);
        }
    } else {
        for (const auto* row : kept) emit(RowScope(rows.columns, *row, &context), row);
    }

    if (select.predicate == Select::Predicate::Distinct) {
        std::vector<OutputRow> distinct;
        for (auto& row : out) {
            const bool seen = std::any_of(distinct.begin(), distinct.end(),
                                          [&](const OutputRow& d) { return sameRow(d.values, row.values, rules); });
            if (!seen) distinct.push_back(std::move(row));
        }
        out = std::move(distinct);
    }

    // Equal keys keep the order the rows came in.
    std::stable_sort(out.begin(), out.end(), [&](const OutputRow& a, const OutputRow& b) {
        return compareKeys(a.keys, b.keys, orderBy, rules) < 0;
    });

    if (select.top) {
        const double n = numberValue(*select.top).value_or(0);
        std::size_t keep = select.topPercent ? static_cast<std::size_t>(std::ceil(n / 100.0 * static_cast<double>(out.size())))
                                             : static_cast<std::size_t>(std::max(0.0, n));
        // Rows tied with the last one kept come too, as Jet gives them.
        if (keep > 0 && !orderBy.empty())
            while (keep < out.size() && compareKeys(out[keep].keys, out[keep - 1].keys, orderBy, rules) == 0) ++keep;
        if (keep < out.size()) out.resize(keep);
    }
    for (auto& row : out) result.rows.push_back(std::move(row.values));
    return result;
}

Result runSelectWithin(const Query& query, const RunContext& context) {
    const Rules& rules = context.rules;
    if (query.kind == Query::Kind::Crosstab || query.selects.empty()) notRunHere();
    if (query.kind == Query::Kind::Select) return runOne(query, query.selects.front(), query.orderBy, context);
    // A union: its halves left to right, each UNION (not UNION ALL) leaving
    // one of each row of what it has joined; then the statement's ORDER BY.
    Result all = runOne(query, query.selects.front(), {}, context);
    for (std::size_t i = 1; i < query.selects.size(); ++i) {
        Result next = runOne(query, query.selects[i], {}, context);
        if (next.columns.size() != all.columns.size())
            throw RuntimeError(run_errors::UnionColumns, "The number of columns in the two selected tables or queries "
                                                          "of a union query do not match.");
        for (auto& row : next.rows) all.rows.push_back(std::move(row));
        if (!query.unionAll[i - 1]) {
            std::vector<std::vector<Variant>> distinct;
            for (auto& row : all.rows)
                if (std::none_of(distinct.begin(), distinct.end(),
                                 [&](const std::vector<Variant>& d) { return sameRow(d, row, rules); }))
                    distinct.push_back(std::move(row));
            all.rows = std::move(distinct);
        }
        if (all.rows.size() > rules.maxRows)
            throw RuntimeError(run_errors::ResourceExceeded, "System resource exceeded.");
    }
    if (!query.orderBy.empty()) {
        std::vector<std::pair<std::vector<Variant>, std::vector<Variant>>> keyed;
        for (auto& row : all.rows) {
            std::vector<Variant> keys;
            for (const OrderItem& order : query.orderBy)
                keys.push_back(evaluate(*order.value, ResultScope(all.columns, row), rules));
            keyed.emplace_back(std::move(keys), std::move(row));
        }
        std::stable_sort(keyed.begin(), keyed.end(), [&](const auto& a, const auto& b) {
            return compareKeys(a.first, b.first, query.orderBy, rules) < 0;
        });
        all.rows.clear();
        for (auto& [keys, row] : keyed) all.rows.push_back(std::move(row));
    }
    return all;
}

}  // namespace

Result runSelect(const Query& query, const Tables& tables, const Rules& rules) {
    return runSelectWithin(query, {tables, rules, nullptr});
}

}  // namespace ql::jetsql
