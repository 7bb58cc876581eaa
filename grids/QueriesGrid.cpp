// Grid 8: the saved queries in collection order with their type and field
// count. chkQryControl decides which are listed: ticked, all; unticked, all
// but those whose name begins with "~"; greyed, none, which follows from the
// rule and is kept.
#include "grids/FillerSupport.h"

namespace ql::grids {

namespace {

bool listed(const std::string& name, int qryControl) {
    return (name.rfind('~', 0) != 0 && qryControl == kUnchecked) || qryControl == kChecked;
}

}  // namespace

void FillGridQueries(WindowContext& ctx) {
    WindowState& state = ctx.state;
    GridChange change(ctx, kGridQueries);
    Grid& grid = clearGrid(state, kGridQueries);
    const NameList& queryList = state.lstData[kTabViews];
    if (queryList.ListCount() == 0) return;

    hourglass(ctx);
    grid.addColumn("Query", 3000);
    grid.addColumn("Type", 800);
    grid.addColumn("Fields", 600, Alignment::Right);
    // The count is the name list's, whatever the rows below show.
    addCountRow(grid, "Views in Database", queryList.ListCount());

    const auto& queries = object(state.CurrentDb).QueryDefs();
    const int qryControl = ctx.controls.chkQryControl();
    for (int q = 1; q <= queries.Count(); ++q) {
        const dao::QueryDef& query = queries.Item(q - 1);
        const std::string name = query.Name();
        if (!listed(name, qryControl)) continue;
        grid.addRow(name);
        // A query over a missing table fails here; its row keeps what was set.
        const ErrorRegime onError = ErrorRegime::handledBy([&](const RuntimeError& error) {
            logAndCount(state, errorLogLine("Query Error :", name, error));
        });
        onError([&] { setLastSubItem(grid, 1, QueryTypeName(static_cast<std::int16_t>(query.Type()))); });
        onError([&] { setLastSubItem(grid, 2, std::to_string(query.FieldsCount())); });
    }
}

}  // namespace ql::grids
