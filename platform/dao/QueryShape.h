#pragma once
// What a saved query returns and what it reads, from its stored rows: the
// output columns (with "*" and "T.*" left for the caller to expand through
// tables and other saved queries) and the input tables and queries. The DAO
// layer counts QueryDef.Fields from it and finds inputs that are missing.
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/dao/QueryRows.h"

namespace ql::dao {

struct QueryOutput {
    enum class Kind {
        Column,        // one column: `expression`, named `alias` when given
        AllColumns,    // "*": every column of every input, in input order
        AllOfSource,   // "T.*": every column of the input named (or aliased) `source`
        PivotColumns,  // a crosstab's PIVOT: one column per value (see QueryShape::pivotValues)
    };
    Kind kind = Kind::Column;
    std::string expression;            // as written; for PivotColumns the PIVOT expression
    std::optional<std::string> alias;  // Column only
    std::string source;                // AllOfSource only: the name before ".*", without brackets
};

struct QueryInput {
    std::string name;                  // table or query name, without brackets; empty for a derived table
    std::optional<std::string> alias;
    std::optional<std::string> sql;    // a derived table's SELECT text
    // A source of the statement's own FROM, which "*" expands over; false
    // for the sources of subqueries and of later SELECTs of a union.
    bool outer = true;
};

struct QueryShape {
    bool returnsRows = false;          // select, crosstab and union queries
    std::vector<QueryOutput> outputs;  // in order; empty when no rows are returned
    // Every table or query read, in FROM order, once per mention; a union
    // lists the sources of both halves, and SQL text the sources of its
    // subqueries too (after the FROM list they stand in). The sources of a
    // derived table kept as "[SELECT ...]." are not read: selectTextShape of
    // its `sql` gives them.
    std::vector<QueryInput> inputs;
    // The inputs live in another database (FROM ... IN 'path').
    std::optional<std::string> sourceDatabase;
    // A crosstab whose PIVOT ends in "In (...)" has these fixed column
    // headings (string literals unquoted); otherwise its columns come from
    // the data and this is empty.
    std::optional<std::vector<std::string>> pivotValues;

    // The input that `name` (an alias or a table/query name, any case)
    // stands for; nullptr when none does.
    const QueryInput* inputFor(const std::string& name) const;
};

// `catalogueType` as for queryDefSql.
QueryShape queryShape(std::span<const QueryRow> rows, int catalogueType = -1);

// The outputs and inputs of one SELECT statement's text (a union's half,
// which may itself hold several SELECTs joined by UNION: outputs come from
// the first, inputs from all). Also reads "TABLE name".
QueryShape selectTextShape(const std::string& sql);

}  // namespace ql::dao
