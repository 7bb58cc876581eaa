// Grid 1: every listed table with its record count, field count and the sum
// of its fields' declared sizes. No trap of its own: a table that cannot be
// opened is the analysis run's business.
#include <limits>

#include "grids/FillerSupport.h"
#include "platform/vb/VbText.h"

namespace ql::grids {

namespace {

constexpr int kErrOverflow = 6;

std::int32_t addSize(std::int32_t sum, int size) {
    const std::int64_t total = static_cast<std::int64_t>(sum) + size;
    if (total > std::numeric_limits<std::int32_t>::max() || total < std::numeric_limits<std::int32_t>::min())
        throw RuntimeError(kErrOverflow, "Overflow");
    return static_cast<std::int32_t>(total);
}

}  // namespace

void FillGridTables(WindowContext& ctx) {
    WindowState& state = ctx.state;
    if (!state.DbEngine) objectNotSet();
    state.CurrentDb = state.DbEngine->OpenDatabase(ctx.controls.txtMDB());

    GridChange change(ctx, kGridTables);
    Grid& grid = clearGrid(state, kGridTables);
    const NameList& tables = state.lstData[kTabTables];
    if (tables.ListCount() == 0) return;

    hourglass(ctx);
    grid.addColumn("Table", 3000);
    grid.addColumn("Records", 600, Alignment::Right);
    grid.addColumn("Fields", 600, Alignment::Right);
    grid.addColumn("Size", 600, Alignment::Right);
    addCountRow(grid, "Tables in Database : ", tables.ListCount());

    const dao::Database& db = *state.CurrentDb;
    for (int i = 1; i <= tables.ListCount(); ++i) {
        const std::string& name = tables.List(i - 1);
        // The name goes between brackets as it stands, "]" and all.
        dao::Recordset counted = db.OpenRecordset("Select count(*) as Recs from [" + name + "]");
        grid.addRow(name);
        setLastSubItem(grid, 1, vb::CStr(counted.Value("Recs")));
        counted.Close();

        // Opened for its field list only; no row is read.
        dao::Recordset all = db.OpenRecordset("Select * from [" + name + "]");
        const auto& fields = all.Fields();
        setLastSubItem(grid, 2, std::to_string(fields.Count()));
        std::int32_t size = 0;
        for (int j = 1; j <= fields.Count(); ++j) size = addSize(size, fields.Item(j - 1).Size());
        setLastSubItem(grid, 3, std::to_string(size));
        all.Close();
    }
}

}  // namespace ql::grids
