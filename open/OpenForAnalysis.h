#pragma once
// Opening a database as a successful "Database.." leaves the window, without
// its dialogs, file checks and settings: the headless tool and the tests of
// the commands open their databases by these same lines.
//
// Inline, so that the libraries of the tool and of the tests, which link the
// window's state but not the open command, need nothing more.
#include <string>

#include "grids/WindowContext.h"
#include "platform/dao/Dao.h"

namespace ql::open {

// The engine and the database are kept in the window's state, the paths in
// the state and in txtMDB. Throws the engine's error when the database does
// not open; the state is then left as it was.
inline void openForAnalysis(grids::WindowContext& ctx, const std::string& database, const std::string& workgroup) {
    dao::DBEngine engine;
    engine.SystemDB = workgroup;
    ctx.state.CurrentDb = engine.OpenDatabase(database, false, true);
    ctx.state.DbEngine = engine;
    ctx.state.SystemDbPath = workgroup;
    ctx.state.ActualDbPath = database;
    ctx.controls.setTxtMDB(database);
}

}  // namespace ql::open
