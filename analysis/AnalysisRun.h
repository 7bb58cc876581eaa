#pragma once
// The analysis run behind the "Analyse" button: walks the open database's
// catalogue, fills the name lists, has every grid filled, counts the errors
// and leaves the window ready for viewing the results.
#include "grids/WindowContext.h"

namespace ql::analysis {

// Errors the run's own regions take are logged or ignored; an error the run
// does not handle leaves as grids::UnhandledError.
void cmdAnalyse_Click(grids::WindowContext& ctx);

}  // namespace ql::analysis
