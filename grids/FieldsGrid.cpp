// Grid 2: every field of every table that is not a system table, with its
// table and the name of its type. The rows come from the catalogue, the
// count row from the name list; the two need not agree.
#include "grids/FillerSupport.h"

namespace ql::grids {

void FillGridFields(WindowContext& ctx) {
    WindowState& state = ctx.state;
    GridChange change(ctx, kGridFields);
    Grid& grid = clearGrid(state, kGridFields);
    const NameList& fieldList = state.lstData[kTabFields];
    if (fieldList.ListCount() == 0) return;

    hourglass(ctx);
    grid.addColumn("Field", 1000);
    grid.addColumn("In Table", 1000);
    grid.addColumn("Type", 1000);
    addCountRow(grid, "Fields in Database ", fieldList.ListCount());

    int t = 0;
    // The handler names the saved query before position t, whatever failed;
    // for the first table there is none and its own error leaves the fill.
    const ErrorRegime onError = ErrorRegime::handledBy([&](const RuntimeError& error) {
        logAndCount(state, errorLogLine("Field Error :", queryNameAt(state, t - 1), error));
    });

    // The field being read, kept between statements as the window's
    // variable is: a statement that fails leaves the previous one.
    const dao::Field* field = nullptr;
    const dao::Collection<dao::TableDef>* tableDefs = nullptr;
    // At t = 0 a failure here leaves through the handler, so past it the
    // collection is there.
    onError([&] { tableDefs = &object(state.CurrentDb).TableDefs(); });
    for (t = 0; t < tableDefs->Count(); ++t) {
        const dao::TableDef* table = nullptr;
        onError([&] { table = &tableDefs->Item(t); });
        // "MSys" anywhere in the name, not only at its start.
        if (!table || table->Name().find("MSys") != std::string::npos) continue;
        int fieldCount = 0;
        onError([&] { fieldCount = table->Fields().Count(); });
        for (int f = 0; f < fieldCount; ++f) {
            onError([&] { field = &table->Fields().Item(f); });
            onError([&] { grid.addRow(object(field).Name()); });
            onError([&] { setLastSubItem(grid, 1, table->Name()); });
            onError([&] { setLastSubItem(grid, 2, FieldTypeName(static_cast<std::int16_t>(object(field).Type()))); });
        }
    }
}

}  // namespace ql::grids
