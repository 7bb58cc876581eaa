// Page 0 of a Jet 4 database.
#pragma once

#include "tools/jetwriter/Bytes.h"

namespace ql::jetwriter {

// The RC4 keystream Jet masks the header with (key C7 DA 39 6B), `n` bytes of it.
Bytes headerMask(std::size_t n);

// An unencrypted Jet 4 header: code page 1252, General sort order, no database key, no
// password; `created` (days since 1899-12-30) is the creation date, which also masks the
// password area.
Bytes buildHeaderPage(double created);

} // namespace ql::jetwriter
