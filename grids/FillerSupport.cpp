#include "grids/FillerSupport.h"

namespace ql::grids {

void logAndCount(WindowState& state, const std::string& line) {
    appendErrorLog(state, line);
    countError(state);
}

void objectNotSet() { throw RuntimeError(91, "Object variable or With block variable not set"); }

ChangeAtExit::~ChangeAtExit() {
    try {
        (ctx_.controls.*notice_)(k_);
    } catch (...) {
        // A redraw that fails must not hide the error that may be leaving.
    }
}

Grid& clearGrid(WindowState& state, int k) {
    Grid& grid = state.lvwGrid.at(static_cast<std::size_t>(k));
    grid.clearRows();
    grid.clearColumns();
    grid.touch();
    return grid;
}

void hourglass(WindowContext& ctx) { ctx.ui.setMousePointer(ui::MousePointer::Hourglass); }

void addCountRow(Grid& grid, const std::string& caption, int count) {
    grid.addRow(caption);
    setLastSubItem(grid, 1, std::to_string(count));
}

void setLastSubItem(Grid& grid, int k, std::string text) {
    // The list view's own error for a row that is not there.
    if (grid.rowCount() == 0) throw RuntimeError(35600, "Index out of bounds");
    grid.row(grid.rowCount()).setSubItem(k, std::move(text));
}

}  // namespace ql::grids
