#pragma once
// What a saved workbook holds, independent of how it was built: sheets in tab
// order, each a sparse set of text and number cells, and the active sheet.
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace ql::workbook {

// The grid of one Excel 97-2003 sheet (zero-based in the file).
inline constexpr int MaxRows = 65536;
inline constexpr int MaxColumns = 256;
// Excel 97-2003 refuses longer cell texts.
inline constexpr size_t MaxCellTextLength = 32767;  // UTF-16 code units

using CellContent = std::variant<std::u16string, double>;

struct SheetModel {
    std::u16string name;
    // Keyed by (row, column), both zero-based; map order is the order the
    // cell table needs (rows ascending, columns ascending within a row).
    std::map<std::pair<int, int>, CellContent> cells;
};

struct WorkbookModel {
    std::vector<SheetModel> sheets;
    size_t activeSheet = 0;
};

}  // namespace ql::workbook
