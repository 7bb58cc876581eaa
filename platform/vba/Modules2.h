#pragma once
// Access 97 keeps each module's stream in a MSysModules2 row, wrapped in a
// small record list, and has no module table: the source text is found by
// its own signature.
#include "platform/vba/SystemTableRows.h"

#include <string>
#include <string_view>
#include <vector>

namespace ql::vba {

struct Modules2Record {
    std::string name;  // UTF-8: "_VBA_MODULE", "__SRP_0", "_VBA_PROJECT" ...
    std::string data;
};

// Splits a `Module` blob into its named records. Throws VbaError(Corrupt)
// when the blob does not start with the record-list magic or a record runs
// past its end.
std::vector<Modules2Record> parseModules2Blob(std::string_view blob);

// The project code page kept in the `_VBA_PROJECT` record of the MSysDb
// row, or 0 when the row is missing or has another layout.
int modules2CodePage(const std::vector<Modules2Row>& rows);

// The rows that hold modules, one per name: the row with the highest
// Version wins when a name repeats. Leaves out the project rows (MSysDb,
// Lock) and rows without a `Module` value.
std::vector<const Modules2Row*> modules2ModuleRows(const std::vector<Modules2Row>& rows);

}  // namespace ql::vba
