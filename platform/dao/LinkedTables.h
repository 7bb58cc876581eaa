#pragma once
// Where a linked table's columns come from. The front end stores only the
// link; the columns are in the source, which must be reached.
#include <string>

#include "platform/jet/Database.h"

namespace ql::dao {

// The number of columns of the linked table `link` (an MSysObjects row of a
// Jet or ODBC link) of the database at `frontEndPath`. A Jet source is
// looked for at the path the link stores and, as a path saved on Windows
// names nothing here, under the same file name in the front end's folder.
// Throws the DAO error Jet gives when the source cannot be reached: 3044 or
// 3024 for a missing file, 3343 for a file that is not a database, 3011
// for a table the source does not have, 3151 for any ODBC source (there is
// no ODBC here).
int linkedColumnCount(const jet::CatalogEntry& link, const std::string& frontEndPath);

}  // namespace ql::dao
