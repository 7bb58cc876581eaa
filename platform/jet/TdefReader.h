#pragma once
// Decodes a table definition from its chain of TDEF pages.
#include "platform/jet/Context.h"
#include "platform/jet/TableDef.h"

namespace ql::jet::detail {

// The TDEF stream: the first page whole, then each following page without
// its 8-byte header. The chain is bounded by the page count and checked for
// cycles.
std::vector<std::uint8_t> readTdefStream(const Context& context, std::uint32_t firstPage);

TableDef readTableDef(const Context& context, std::uint32_t firstPage);

}  // namespace ql::jet::detail
