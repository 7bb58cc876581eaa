// Column sizing after a run: the first seven grids only, each column from
// the second on sized to its contents (the first keeps the width it was
// added with). Grids 7, 8 and 11 keep their widths; that limit is kept.
#include "grids/Fillers.h"

namespace ql::grids {

namespace {
constexpr int kSizedGrids = 7;
}

void AutoAdjustColumnWidths(WindowContext& ctx) {
    for (int grid = 0; grid < kSizedGrids; ++grid) {
        // A grid whose name list was empty has no columns and asks for nothing.
        if (ctx.state.lvwGrid[static_cast<std::size_t>(grid)].columnCount() > 0) ctx.controls.autoSizeColumns(grid);
    }
}

}  // namespace ql::grids
