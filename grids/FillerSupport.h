#pragma once
// What the fillers share: the grid frame (clear, columns, count row, the
// last row's sub-items), the two error regimes the fillers work under, and
// the window's redraw of a grid that changed.
#include <optional>
#include <string>

#include "grids/ErrorLog.h"
#include "grids/Fillers.h"

namespace ql::grids {

// Runs one statement of a region whose errors are ignored: a failing
// statement is abandoned and the caller goes on with the next one.
template <class Statement>
void resumeNext(Statement&& statement) {
    try {
        statement();
    } catch (const std::exception&) {
    }
}

// Runs one statement under an error handler: a failing statement is
// abandoned, `handler` gets its error as a runtime error, and the caller goes
// on with the next statement. The handler runs outside the trap, so an error
// of its own leaves the caller.
template <class Statement, class Handler>
void resumeAfterHandler(Statement&& statement, Handler&& handler) {
    std::optional<RuntimeError> error;
    try {
        statement();
    } catch (const std::exception& e) {
        error = asRuntimeError(e);
    }
    if (error) handler(*error);
}

// The fillers' handler: one line in the error log, one more error counted.
void logAndCount(WindowState& state, const std::string& line);

// Tells the window that grid `k` changed when the filler ends, whether it
// ends normally or by an error, so rows added before a failure are shown.
class GridChange {
public:
    GridChange(WindowContext& ctx, int k) : ctx_(ctx), k_(k) {}
    ~GridChange();
    GridChange(const GridChange&) = delete;
    GridChange& operator=(const GridChange&) = delete;

private:
    WindowContext& ctx_;
    int k_;
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
