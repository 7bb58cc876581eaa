// Grid 7: the relationships read from the engine's relationship table with
// SQL. The inner query picks by table pair only, so a relationship over n
// column pairs shows n times, and when k relationships join one pair each
// shows k times over; that repetition is the listing's behaviour and kept.
// No trap of its own: an unreadable table is the analysis run's business.
#include "grids/FillerSupport.h"
#include "platform/vb/VbText.h"

namespace ql::grids {

void FillGridRelations(WindowContext& ctx) {
    WindowState& state = ctx.state;
    GridChange change(ctx, kGridRelations);
    Grid& grid = clearGrid(state, kGridRelations);
    const NameList& relationList = state.lstData[kTabRelations];
    if (relationList.ListCount() == 0) return;

    hourglass(ctx);
    grid.addColumn("Relation", 1000, Alignment::Left);
    grid.addColumn("From Table", 1000, Alignment::Left);
    grid.addColumn("To Table", 1000, Alignment::Left);
    addCountRow(grid, "Relationships in Database", relationList.ListCount());

    const dao::Database& db = object(state.CurrentDb);
    dao::Recordset pairs = db.OpenRecordset(std::string("SELECT DISTINCT szObject, szReferencedObject, szRelationship  ") +
                                            "From msysrelationships " + "order BY szObject, szReferencedObject;");
    using vb::CStr;
    while (!pairs.isEOF()) {
        // The names go in as they are: a quote inside one is not doubled.
        dao::Recordset columns = db.OpenRecordset("SELECT * FROM MSysRelationships WHERE szObject = '" +
                                                  CStr(pairs.Value("szObject")) + "' and szReferencedObject = '" +
                                                  CStr(pairs.Value("szreferencedobject")) + "'");
        while (!columns.isEOF()) {
            grid.addRow(CStr(columns.Value("szrelationship")));
            setLastSubItem(grid, 1, CStr(columns.Value("szObject")));
            setLastSubItem(grid, 2, CStr(columns.Value("szreferencedobject")));
            columns.MoveNext();
        }
        columns.Close();
        pairs.MoveNext();
    }
    pairs.Close();
}

}  // namespace ql::grids
