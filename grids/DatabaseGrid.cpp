// Grid 0: the database file's size and dates, every property of the open
// database, and at the end of the run the number of objects of each kind.
// Neither filler traps errors: the analysis run decides what one means.
#include <filesystem>
#include <system_error>

#include "grids/FileDates.h"
#include "grids/FillerSupport.h"
#include "platform/vb/VbText.h"

namespace ql::grids {

namespace {

// FileLen: the length, or the runtime's error for a file that is not there.
std::string fileLength(const std::string& path) {
    std::error_code ec;
    const auto size = std::filesystem::file_size(path, ec);
    if (ec) throw fileOpenError(ec.value());
    return std::to_string(size);
}

void addValueRow(Grid& grid, const std::string& label, std::string value) {
    grid.addRow(label);
    setLastSubItem(grid, 1, std::move(value));
}

}  // namespace

void FillGridDatabase(WindowContext& ctx) {
    GridChange change(ctx, kGridDatabase);
    Grid& grid = clearGrid(ctx.state, kGridDatabase);
    hourglass(ctx);
    grid.addColumn("DataBase", 3000);
    grid.addColumn("");

    const std::string path = ctx.controls.txtMDB();
    addValueRow(grid, "File Size", fileLength(path) + " Bytes");
    addValueRow(grid, "Created", vb::dateText(GetFileDate(path, kFileCreated)));
    addValueRow(grid, "Last Accessed", vb::dateText(GetFileDate(path, kFileAccessed)));
    addValueRow(grid, "Last Modified", vb::dateText(GetFileDate(path, kFileModified)));

    const auto& properties = object(ctx.state.CurrentDb).Properties();
    for (int i = 1; i <= properties.Count(); ++i) {
        const std::string name = properties.Item(i - 1).Name();
        grid.addRow(name);
        // Its value is an object; reading it could only fail.
        if (name == "Connection") setLastSubItem(grid, 1, "Not applicable");
        else setLastSubItem(grid, 1, vb::CStr(properties.Item(i - 1).Value()));
    }
}

void UpdateGridDatabase(WindowContext& ctx) {
    GridChange change(ctx, kGridDatabase);
    Grid& grid = ctx.state.lvwGrid[kGridDatabase];
    hourglass(ctx);
    // The queries are "Views" here, as on the rest of the report.
    static const std::pair<const char*, int> kCounts[] = {
        {"Tables", kTabTables},   {"Fields", kTabFields},   {"Views", kTabViews},         {"Indexes", kTabIndexes},
        {"Macros", kTabMacros},   {"Modules", kTabModules}, {"Relationships", kTabRelations},
    };
    for (const auto& [label, list] : kCounts)
        addValueRow(grid, label, std::to_string(ctx.state.lstData[static_cast<std::size_t>(list)].ListCount()));
}

}  // namespace ql::grids
