#pragma once
// How many functions or subs a code module declares, by the word rule the
// modules grid's numbers are defined by: a line (blanks trimmed) whose first
// word, or second word after "Public" / "Private", is exactly "Function" or
// "Sub". The rule is deliberately coarse: Friend, Static, Declare and
// Property procedures are not counted, and a tab does not end a word.
#include <cstdint>

namespace ql::vba {
class AutomationModule;
}

namespace ql::grids {

inline constexpr std::int16_t kCountFunctions = 0;
inline constexpr std::int16_t kCountSubs = 1;

// The count for `kind` (kCountFunctions or kCountSubs; any other kind counts
// nothing). Every error is trapped: the first one ends the count and its
// number comes back negated, e.g. -5 for a line that has "Public" or
// "Private" and then no further blank, -91 for a module that is not there.
std::int32_t CountProcedures(const vba::AutomationModule* module, std::int16_t kind);

}  // namespace ql::grids
