#pragma once
// QueryDef.SQL: the text of a saved query, rebuilt from its MSysQueries rows
// the way Access writes it. Clauses are separated by CR LF and the statement
// ends with ";" and CR LF. Data-definition and pass-through queries keep the
// text they were saved with, unchanged.
#include <span>
#include <string>

#include "platform/dao/QueryRows.h"

namespace ql::dao {

// `rows`: every MSysQueries row of one query (in any order; they are sorted
// by Attribute and Order here). `jetVersion`: 3 or 4, the version of the file.
// `catalogueType`: MSysObjects.Flags & 0xF0 for the query, used when the rows
// carry no kind of their own (-1 when not known). Rows that are missing or
// hold unexpected values give a best-effort text, never an error.
std::string queryDefSql(std::span<const QueryRow> rows, int jetVersion, int catalogueType = -1);

}  // namespace ql::dao
