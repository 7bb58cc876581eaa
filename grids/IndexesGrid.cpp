// Grid 4: the indexes the analysis collected as "[table].index", with their
// table and whether each is the primary key.
#include "grids/FillerSupport.h"

namespace ql::grids {

namespace {

constexpr int kErrInvalidCall = 5;

std::string withoutBrackets(std::string text) {
    std::erase(text, ']');
    std::erase(text, '[');
    return text;
}

}  // namespace

void FillGridIndexes(WindowContext& ctx) {
    WindowState& state = ctx.state;
    GridChange change(ctx, kGridIndexes);
    Grid& grid = clearGrid(state, kGridIndexes);
    const NameList& indexList = state.lstData[kTabIndexes];
    if (indexList.ListCount() == 0) return;

    hourglass(ctx);
    grid.addColumn("Index", 3000);
    grid.addColumn("Table", 3000);
    grid.addColumn("Pmry", 600);
    addCountRow(grid, "Indexes in Database", indexList.ListCount());

    int i = 0;
    // The handler names the saved query before position i, whatever failed;
    // for the first entry there is none and its own error leaves the fill.
    const auto handler = [&](const RuntimeError& error) {
        logAndCount(state, errorLogLine("Index Error :", queryNameAt(state, i - 1), error));
    };
    ErrorRegime onError;

    // Kept between entries as the window's variables are: a statement that
    // fails leaves the previous entry's value in place.
    std::string tableName;
    std::string indexName;
    const dao::Index* index = nullptr;
    for (i = 0; i < indexList.ListCount(); ++i) {
        const std::string& entry = indexList.List(i);
        onError.handleBy(handler);
        const std::size_t dot = entry.find('.');
        // Without a "." the left part has a length of -1: an invalid call.
        onError([&] {
                if (dot == std::string::npos) throw RuntimeError(kErrInvalidCall, "Invalid procedure call or argument");
                tableName = withoutBrackets(entry.substr(0, dot));
            });
        onError([&] { indexName = dot == std::string::npos ? entry : entry.substr(dot + 1); });
        onError([&] { index = &object(state.CurrentDb).TableDefs().Item(tableName).Indexes().Item(indexName); });
        onError([&] { grid.addRow(object(index).Name()); });
        // From here to the end of the entry errors pass without a word, so a
        // row may lack its sub-items.
        onError.resumeNext();
        onError([&] { setLastSubItem(grid, 1, tableName); });
        onError([&] { setLastSubItem(grid, 2, object(index).Primary() ? "Yes" : "No"); });
    }
}

}  // namespace ql::grids
