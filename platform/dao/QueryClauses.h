#pragma once
// The pieces that several kinds of query share when their SQL is rebuilt:
// the PARAMETERS declaration, the select predicates, column lists, the FROM
// sources with their joins, and the clauses after FROM.
#include <functional>
#include <string>
#include <vector>

#include "platform/dao/QueryRows.h"

namespace ql::dao::sql {

inline constexpr const char* CrLf = "\r\n";

// "PARAMETERS a Long, [b c] Text ( 255 );" and a line break, or "" without
// parameters. Jet 4 gives text parameters their size; Jet 3 does not.
std::string parametersLine(const QueryRowSet& rows, int jetVersion);

// "DISTINCT", "DISTINCTROW", "TOP 10", "TOP 5 PERCENT", as many as the
// options ask for, each followed by one blank.
std::string predicates(const QueryRowSet& rows);

// "a, b AS c": each row's Expression with its alias; "*" last when all fields
// are asked for.
std::string columnList(const std::vector<const QueryRow*>& columns, bool allFields);

// The FROM sources: un-joined ones comma-separated first, joins nested in the
// order their rows come, then " IN 'path' [type]" when the sources live in
// another database. Empty when the query has no source.
std::string sourceList(const QueryRowSet& rows);

// " IN 'path'" and " [type]" for a database other than this one; empty when
// neither is given.
std::string inDatabase(const std::optional<std::string>& path, const std::optional<std::string>& type);

// The lines after FROM: WHERE, GROUP BY (the rows `keepGroup` accepts),
// HAVING and ORDER BY, each starting with a line break; empty ones left out.
std::string trailingClauses(const QueryRowSet& rows,
                            const std::function<bool(const QueryRow&)>& keepGroup = {});

// CR LF "ORDER BY a, b DESC", or "" without ordering.
std::string orderByLine(const QueryRowSet& rows);

// The rows of one attribute whose Flag passes a test.
std::vector<const QueryRow*> rowsWhere(const std::vector<const QueryRow*>& rows,
                                       const std::function<bool(const QueryRow&)>& keep);

std::string joinTexts(const std::vector<std::string>& items, const std::string& separator);

}  // namespace ql::dao::sql
