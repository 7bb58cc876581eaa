#include "app/reporttool/JsonReport.h"

#include <algorithm>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

#include "analysis/FormatQuerySql.h"
#include "grids/ErrorLog.h"
#include "grids/Fillers.h"
#include "report/PathText.h"

namespace ql::reporttool {

namespace {

QString text(const std::string& s) { return QString::fromStdString(s); }

// A path as a JSON string that still names the file when it is not UTF-8.
QString pathText(const std::string& path) { return text(report::unicodePathText(path)); }

QJsonArray pathArray(const std::vector<std::string>& paths) {
    QJsonArray array;
    for (const auto& path : paths) array.append(pathText(path));
    return array;
}

QJsonArray textArray(const std::vector<std::string>& items) {
    QJsonArray array;
    for (const auto& item : items) array.append(text(item));
    return array;
}

QJsonObject errorObject(const RuntimeError& error) {
    return QJsonObject{{"number", error.number()}, {"description", text(error.description())}};
}

QJsonObject gridObject(int number, const grids::Grid& grid) {
    QJsonArray columns;
    for (const auto& column : grid.columns()) columns.append(text(column.text));
    QJsonArray rows;
    for (const auto& row : grid.rows()) rows.append(textArray(visibleCells(grid, row)));
    return QJsonObject{{"number", number}, {"columns", columns}, {"rows", rows}};
}

// The lists by the names of their tabs; 9 and 10 are never filled.
struct ListName {
    int index;
    const char* name;
};
constexpr ListName kLists[] = {
    {0, "tables"}, {1, "queries"}, {2, "indexes"}, {3, "relationships"}, {4, "fields"},
    {5, "forms"},  {6, "reports"}, {7, "macros"},  {8, "modules"},       {11, "pages"},
};

QJsonObject listsObject(const grids::WindowState& state) {
    QJsonObject lists;
    for (const auto& list : kLists) {
        QJsonArray entries;
        for (const auto& entry : state.lstData[static_cast<std::size_t>(list.index)].entries())
            entries.append(text(entry.text));
        lists.insert(list.name, entries);
    }
    return lists;
}

bool queryListed(const std::string& name, int qryControl) {
    return (qryControl == 0 && (name.empty() || name[0] != '~')) || qryControl == 1;
}

// A query whose definition cannot be read keeps its name and carries the
// error instead of the parts that failed.
QJsonArray queriesArray(const grids::WindowState& state, int qryControl) {
    QJsonArray queries;
    if (!state.CurrentDb) return queries;
    const auto& defs = state.CurrentDb->QueryDefs();
    for (int q = 0; q < defs.Count(); ++q) {
        const auto& def = defs.Item(q);
        if (!queryListed(def.Name(), qryControl)) continue;
        QJsonObject query{{"name", text(def.Name())}};
        try {
            query.insert("type", text(grids::QueryTypeName(static_cast<std::int16_t>(def.Type()))));
            std::string sql = def.SQL();
            query.insert("sql", text(sql));
            analysis::FormatQuerySql(sql);
            query.insert("sql_layout", text(sql));
        } catch (const std::exception& e) {
            query.insert("error", errorObject(grids::asRuntimeError(e)));
        }
        queries.append(query);
    }
    return queries;
}

QJsonArray messagesArray(const std::vector<ui::Message>& messages) {
    QJsonArray array;
    for (const auto& m : messages) array.append(QJsonObject{{"title", text(m.title)}, {"text", text(m.text)}});
    return array;
}

}  // namespace

std::vector<std::string> visibleCells(const grids::Grid& grid, const grids::GridRow& row) {
    const int count = std::max(grid.columnCount(), 1);
    std::vector<std::string> cells{row.text};
    for (int k = 1; k < count; ++k) cells.push_back(row.subItem(k));
    return cells;
}

QByteArray jsonReport(const RunOutcome& outcome, const grids::WindowState& state, int qryControl) {
    QJsonArray gridsArray;
    for (int g = 0; g < grids::kGridCount; ++g) gridsArray.append(gridObject(g, state.lvwGrid[static_cast<std::size_t>(g)]));

    QJsonObject report{
        {"database", pathText(outcome.database)},
        {"workgroup", pathText(outcome.workgroup)},
        {"opened", outcome.opened},
        {"aborted", outcome.aborted},
        {"error", outcome.error ? QJsonValue(errorObject(*outcome.error)) : QJsonValue()},
        {"grids", gridsArray},
        {"lists", listsObject(state)},
        {"queries", queriesArray(state, qryControl)},
        {"error_count", state.ErrorCount},
        {"error_log", textArray(outcome.errorLog)},
        {"messages", messagesArray(outcome.messages)},
    };
    if (outcome.moduleSourcesAsked)
        report.insert("module_sources", QJsonObject{{"files", pathArray(outcome.moduleFiles)},
                                                    {"errors", textArray(outcome.moduleErrors)}});
    return QJsonDocument(report).toJson(QJsonDocument::Indented);
}

}  // namespace ql::reporttool
