#pragma once
// Renders our values the way mdb-export (mdbtools 1.0) prints them, so that
// the oracle's output can be compared cell by cell. Where mdbtools is known
// to print something other than the stored value, the rendering says so.
#include <string>
#include <vector>

#include "platform/jet/Database.h"

namespace ql::test {

// Arguments that make mdb-export's output unambiguous: unquoted cells
// separated by US, rows by RS, binary as hex, dates in ISO form.
std::vector<std::string> mdbExportArgs(const std::string& file, const std::string& table);
// The environment for mdbtools: Jet 3 text in the file's own code page
// (mdbtools otherwise assumes 1252).
std::vector<std::string> mdbEnvironment(const ql::jet::HeaderInfo& header);

// Splits mdb-export's output into rows of cells (the header row first).
std::vector<std::vector<std::string>> splitExport(const std::string& out);

// The text mdb-export prints for one of our values.
std::string asMdbExport(const ql::jet::Value& value, const ql::jet::Column& column);

}  // namespace ql::test
