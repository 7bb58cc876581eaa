#pragma once
// The JSON report of one database: what the window would show after an
// analysis (every grid's cells as text, the name lists, the query
// definitions), how the open went, and the error log.
#include <optional>
#include <string>
#include <vector>

#include <QByteArray>

#include "grids/WindowState.h"
#include "platform/RuntimeError.h"
#include "platform/ui/Ui.h"

namespace ql::reporttool {

struct RunOutcome {
    std::string database;
    std::string workgroup;
    bool opened = false;
    // An error that no handler of the run took ended it early.
    bool aborted = false;
    // Why the open failed or the run was aborted.
    std::optional<RuntimeError> error;
    std::vector<std::string> errorLog;
    std::vector<ui::Message> messages;
    // With --module-source: the files written and the modules that could
    // not be.
    bool moduleSourcesAsked = false;
    std::vector<std::string> moduleFiles;
    std::vector<std::string> moduleErrors;
    bool moduleSourceWriteFailed = false;
};

// The cells of one grid row as the window's view shows them: one per
// column header (sub-items past the last column are not shown; a sub-item
// never set is empty).
std::vector<std::string> visibleCells(const grids::Grid& grid, const grids::GridRow& row);

// UTF-8 JSON, indented. `qryControl` is the chkQryControl value of the run
// (0 unticked, 1 ticked, 2 greyed): the "queries" array lists the query
// definitions the queries grid lists under it.
QByteArray jsonReport(const RunOutcome& outcome, const grids::WindowState& state, int qryControl);

}  // namespace ql::reporttool
