#include "grids/Grid.h"

#include <stdexcept>

namespace ql::grids {

const std::string& GridRow::subItem(int k) const {
    static const std::string empty;
    if (k < 1 || static_cast<std::size_t>(k) > subItems.size()) return empty;
    return subItems[static_cast<std::size_t>(k) - 1];
}

void GridRow::setSubItem(int k, std::string value) {
    if (k < 1) throw std::out_of_range("sub-item numbers start at 1");
    if (subItems.size() < static_cast<std::size_t>(k)) subItems.resize(static_cast<std::size_t>(k));
    subItems[static_cast<std::size_t>(k) - 1] = std::move(value);
}

void Grid::addColumn(std::string text, std::optional<int> widthTwips, Alignment alignment) {
    columns_.push_back(ColumnHeader{std::move(text), widthTwips, alignment});
    touch();
}

int Grid::addRow(std::string text) {
    rows_.push_back(GridRow{std::move(text), {}});
    touch();
    return rowCount();
}

GridRow& Grid::row(int position) {
    touch();
    return rows_.at(static_cast<std::size_t>(position - 1));
}

const GridRow& Grid::row(int position) const { return rows_.at(static_cast<std::size_t>(position - 1)); }

}  // namespace ql::grids
