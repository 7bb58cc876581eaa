#pragma once
// Choosing the workgroup file and the database, checking both, remembering
// them in the settings file and opening the database read-only: the work of
// the "Database.." button and menu item.
#include "grids/WindowContext.h"

namespace ql::open {

// All outcomes are shown through ctx.ui; nothing is thrown.
void cmdFind_Click(grids::WindowContext& ctx);

}  // namespace ql::open
