#pragma once
// What the fillers share: the grid frame (clear, columns, count row, the
// last row's sub-items), their error handler, and the window's redraw of a
// grid or name list that changed.
#include <optional>
#include <string>

#include "grids/ErrorLog.h"
#include "grids/ErrorRegime.h"
#include "grids/Fillers.h"

namespace ql::grids {

// The fillers' handler: one line in the error log, one more error counted.
void logAndCount(WindowState& state, const std::string& line);

// Tells the window that a grid or a name list changed when the routine
// ends, whether it ends normally or by an error, so entries added before a
// failure are shown.
class ChangeAtExit {
public:
    using Notice = void (WindowControls::*)(int);
    ChangeAtExit(WindowContext& ctx, Notice notice, int k) : ctx_(ctx), notice_(notice), k_(k) {}
    ~ChangeAtExit();
    ChangeAtExit(const ChangeAtExit&) = delete;
    ChangeAtExit& operator=(const ChangeAtExit&) = delete;

private:
    WindowContext& ctx_;
    Notice notice_;
    int k_;
};

// Grid `k` is redrawn when the filler ends.
struct GridChange : ChangeAtExit {
    GridChange(WindowContext& ctx, int k) : ChangeAtExit(ctx, &WindowControls::gridChanged, k) {}
};

// Name list `k` is shown again when the phase that changed it ends.
struct ListChange : ChangeAtExit {
    ListChange(WindowContext& ctx, int k) : ChangeAtExit(ctx, &WindowControls::nameListChanged, k) {}
};

// What an object variable refers to; VB's error 91 when it is Nothing.
[[noreturn]] void objectNotSet();
template <class T>
const T& object(const T* p) {
    if (!p) objectNotSet();
    return *p;
}
template <class T>
const T& object(const std::optional<T>& o) {
    if (!o) objectNotSet();
    return *o;
}

// Clears grid `k`'s rows, then its columns, and returns it.
Grid& clearGrid(WindowState& state, int k);

void hourglass(WindowContext& ctx);

// The leading row of a grid: caption, then the name list's count.
void addCountRow(Grid& grid, const std::string& caption, int count);

// Sub-item `k` of the grid's last row, the row the fillers address after
// adding one.
void setLastSubItem(Grid& grid, int k, std::string text);

}  // namespace ql::grids
