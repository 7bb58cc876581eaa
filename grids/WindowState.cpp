#include "grids/WindowState.h"

#include "grids/WindowControls.h"
#include "platform/Invariant.h"

namespace ql::grids {

std::optional<SelectButtonAction> selectButtonAction(int index) {
    // {list, what the even button does}; the odd button does the opposite.
    struct Pair {
        int list;
        bool evenSelects;
    };
    static constexpr Pair kPairs[] = {
        {kTabTables, true},     {kTabViews, false},   {kTabIndexes, false}, {kTabRelations, true},
        {kTabForms, false},     {kTabReports, true},  {kTabMacros, true},   {kTabModules, true},
        {kTabFields, true},     {kTabDataPages, true},
    };
    if (index < 0 || index >= 2 * static_cast<int>(std::size(kPairs))) return std::nullopt;
    const auto& pair = kPairs[index / 2];
    const bool even = index % 2 == 0;
    return SelectButtonAction{pair.list, even ? pair.evenSelects : !pair.evenSelects};
}

void resetOutputChoice(WindowState& state) {
    state.OutputPath.clear();
    state.OutputFileNumber = 0;
    state.OutputFormat = kFormatText;
    state.WriteMode = 1;
    state.ErrorLogPath.clear();
    state.StatisticsWritten = false;
    state.ExcelWorkbook.reset();
    state.ExcelApplication.reset();
}

void clearResults(WindowState& state) {
    for (auto& list : state.lstData) list.Clear();
    for (auto& grid : state.lvwGrid) {
        grid.clearRows();
        grid.clearColumns();
        grid.touch();
    }
}

bool applySelectButton(WindowState& state, int index) {
    const auto action = selectButtonAction(index);
    if (!action) return false;
    QL_INVARIANT(action->list >= 0 && action->list < kNameListCount);
    auto& list = state.lstData[static_cast<std::size_t>(action->list)];
    for (int i = 0; i < list.ListCount(); ++i) list.SetSelected(i, action->select);
    return true;
}

void cmdSelect(WindowState& state, ui::Ui& ui, int index) {
    ui.setStatusText("Selecting....");
    applySelectButton(state, index);
}

}  // namespace ql::grids
