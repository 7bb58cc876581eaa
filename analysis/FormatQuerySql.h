#pragma once
// The layout of a saved query's SQL for reading: clauses and joins start new
// lines, list items and conditions start indented lines.
#include <string>

namespace ql::analysis {

// Rewrites `sql` in place by a fixed series of plain text replacements
// (case-sensitive, every occurrence, each over the result of the one
// before). It knows nothing of SQL: commas inside string literals break
// lines too, and "PARAMETERS " is replaced by a tab.
void FormatQuerySql(std::string& sql);

}  // namespace ql::analysis
