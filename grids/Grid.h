#pragma once
// One result grid as the program fills it and the report writer reads it
// back: column headers (text, width in twips, alignment) and rows of text
// cells. A row is a first-column text with sub-items numbered from 1.
#include <optional>
#include <string>
#include <vector>

namespace ql::grids {

enum class Alignment { Left, Right, Center };

// A column added without a width gets the list view's stock width of one
// inch.
inline constexpr int kDefaultColumnWidthTwips = 1440;
inline constexpr int kTwipsPerInch = 1440;

struct ColumnHeader {
    std::string text;
    std::optional<int> widthTwips;  // nothing: added without a width
    Alignment alignment = Alignment::Left;

    int width() const { return widthTwips.value_or(kDefaultColumnWidthTwips); }
};

struct GridRow {
    std::string text;
    std::vector<std::string> subItems;  // subItems[0] is sub-item 1

    // Sub-item k (k >= 1); empty when never set.
    const std::string& subItem(int k) const;
    void setSubItem(int k, std::string value);
};

class Grid {
public:
    void addColumn(std::string text, std::optional<int> widthTwips = std::nullopt,
                   Alignment alignment = Alignment::Left);
    // Adds a row and returns its 1-based position, as the list view counts.
    int addRow(std::string text);
    GridRow& row(int position);  // 1-based
    const GridRow& row(int position) const;

    void clearRows() { rows_.clear(); }
    void clearColumns() { columns_.clear(); }

    int rowCount() const { return static_cast<int>(rows_.size()); }
    int columnCount() const { return static_cast<int>(columns_.size()); }
    const std::vector<ColumnHeader>& columns() const { return columns_; }
    std::vector<ColumnHeader>& columns() { return columns_; }
    const std::vector<GridRow>& rows() const { return rows_; }

    // Bumped by every change, so a view can tell whether it must redraw.
    unsigned revision() const { return revision_; }
    void touch() { ++revision_; }

private:
    std::vector<ColumnHeader> columns_;
    std::vector<GridRow> rows_;
    unsigned revision_ = 0;
};

}  // namespace ql::grids
