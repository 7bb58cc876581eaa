#include "platform/dao/QuerySql.h"

#include "platform/dao/QueryClauses.h"
#include "platform/dao/SqlNames.h"
#include "platform/text/Names.h"

namespace ql::dao {

namespace {

using sql::CrLf;

// Crosstab columns: the TRANSFORM value has neither bit, row headings have 2,
// the PIVOT expression has 1.
constexpr int CrosstabPivot = 0x01;
constexpr int CrosstabRowHeading = 0x02;
// An append column that is an item of VALUES rather than of a SELECT list.
constexpr int AppendValue = 0x8000;

// The two halves of a union are stored as text under these source aliases.
constexpr const char* UnionFirstPart = "X7YZ_____1";
constexpr const char* UnionSecondPart = "X7YZ_____2";

int flagOf(const QueryRow& row) { return row.flag.value_or(0); }

std::string fromLine(const QueryRowSet& rows) {
    const std::string sources = sql::sourceList(rows);
    return sources.empty() ? std::string() : std::string(CrLf) + "FROM " + sources;
}

// "SELECT [predicates] columns [into]" CRLF "FROM ..." and the later clauses.
std::string selectStatement(const QueryRowSet& rows, const std::vector<const QueryRow*>& columns,
                            const std::string& into,
                            const std::function<bool(const QueryRow&)>& keepGroup = {}) {
    const bool allFields = rows.options() & query_option::AllFields;
    return "SELECT " + sql::predicates(rows) + sql::columnList(columns, allFields) + into + fromLine(rows) +
           sql::trailingClauses(rows, keepGroup);
}

std::string selectSql(const QueryRowSet& rows) {
    return selectStatement(rows, rows.all(query_attribute::Column), "");
}

std::string makeTableSql(const QueryRowSet& rows) {
    const QueryRow* kind = rows.first(query_attribute::Kind);
    std::string into;
    if (kind && kind->name1) into = " INTO " + sqlName(*kind->name1) + sql::inDatabase(kind->name2, kind->expression);
    return selectStatement(rows, rows.all(query_attribute::Column), into);
}

std::string appendSql(const QueryRowSet& rows) {
    const QueryRow* kind = rows.first(query_attribute::Kind);
    const auto columns = rows.all(query_attribute::Column);

    std::string text = "INSERT INTO " + (kind && kind->name1 ? sqlName(*kind->name1) : std::string());
    std::vector<std::string> targets;
    for (const QueryRow* row : columns)
        if (row->name2) targets.push_back(sqlQualifiedName(*row->name2));
    if (!targets.empty()) text += " ( " + sql::joinTexts(targets, ", ") + " )";
    if (kind) text += sql::inDatabase(kind->name2, kind->expression);
    text += CrLf;

    const auto values = sql::rowsWhere(columns, [](const QueryRow& r) { return (flagOf(r) & AppendValue) != 0; });
    if (!values.empty()) {
        std::vector<std::string> items;
        for (const QueryRow* row : values) items.push_back(row->expression.value_or(""));
        return text + "VALUES (" + sql::joinTexts(items, ", ") + ")";
    }
    const auto selected = sql::rowsWhere(columns, [](const QueryRow& r) { return (flagOf(r) & AppendValue) == 0; });
    return text + selectStatement(rows, selected, "");
}

std::string updateSql(const QueryRowSet& rows) {
    std::vector<std::string> assignments;
    for (const QueryRow* row : rows.all(query_attribute::Column))
        assignments.push_back(sqlQualifiedName(row->name2.value_or("")) + " = " + row->expression.value_or(""));
    // Access keeps SET on the UPDATE line; only WHERE starts a line of its own.
    std::string text = "UPDATE " + sql::predicates(rows) + sql::sourceList(rows) + " SET " +
                       sql::joinTexts(assignments, ", ");
    if (const QueryRow* where = rows.first(query_attribute::Where); where && where->expression)
        text += std::string(CrLf) + "WHERE " + *where->expression;
    return text;
}

std::string deleteSql(const QueryRowSet& rows) {
    const bool allFields = rows.options() & query_option::AllFields;
    std::string head = sql::predicates(rows) + sql::columnList(rows.all(query_attribute::Column), allFields);
    while (!head.empty() && head.back() == ' ') head.pop_back();
    return "DELETE" + (head.empty() ? std::string() : " " + head) + fromLine(rows) + sql::trailingClauses(rows);
}

std::string crosstabSql(const QueryRowSet& rows) {
    const auto columns = rows.all(query_attribute::Column);
    std::string text;
    for (const QueryRow* row : columns) {
        if (flagOf(*row) & (CrosstabPivot | CrosstabRowHeading)) continue;
        text += "TRANSFORM " + sql::columnList({row}, false) + CrLf;
        break;
    }
    const auto isRowHeading = [](const QueryRow& r) { return (flagOf(r) & CrosstabRowHeading) != 0; };
    text += selectStatement(rows, sql::rowsWhere(columns, isRowHeading), "", isRowHeading);
    for (const QueryRow* row : columns) {
        if (!(flagOf(*row) & CrosstabPivot) || !row->expression) continue;
        text += std::string(CrLf) + "PIVOT " + *row->expression;
        break;
    }
    return text;
}

// A half as Jet keeps it: the text the user wrote before or after UNION,
// blank lines included.
std::string unionPart(const QueryRowSet& rows, const char* alias) {
    for (const QueryRow* row : rows.all(query_attribute::Source))
        if (row->name2 == alias) return row->expression.value_or("");
    return {};
}

std::string unionSql(const QueryRowSet& rows) {
    // The first half keeps the line ends the user put before UNION (a half
    // that ends without one still needs a break before the keyword); the
    // second is trimmed, as ORDER BY and the end of the statement follow it.
    std::string text = unionPart(rows, UnionFirstPart);
    text.erase(0, std::min(text.size(), text.find_first_not_of(text::kBlanks)));
    if (text.empty() || text::kBlanks.find(text.back()) == std::string_view::npos) text += CrLf;
    text += "UNION ";
    if (!(rows.options() & query_option::Distinct)) text += "ALL ";
    text += text::trimmed(unionPart(rows, UnionSecondPart));
    // Only ORDER BY follows a union; its halves carry their own clauses.
    text += sql::orderByLine(rows);
    return text;
}

// Data-definition and pass-through text is kept as saved. The stored text
// can end in a terminating zero, which is not part of the SQL.
std::string savedText(const QueryRowSet& rows) {
    const QueryRow* kind = rows.first(query_attribute::Kind);
    if (!kind || !kind->expression) return {};
    const std::string& text = *kind->expression;
    return text.substr(0, text.find('\0'));
}

}  // namespace

std::string queryDefSql(std::span<const QueryRow> rowSpan, int jetVersion, int catalogueType) {
    const QueryRowSet rows(rowSpan);
    const QueryKind kind = queryKind(rowSpan, catalogueType);

    std::string statement;
    switch (kind) {
    case QueryKind::DataDefinition:
    case QueryKind::PassThrough: return savedText(rows);
    case QueryKind::Select: statement = selectSql(rows); break;
    case QueryKind::MakeTable: statement = makeTableSql(rows); break;
    case QueryKind::Append: statement = appendSql(rows); break;
    case QueryKind::Update: statement = updateSql(rows); break;
    case QueryKind::Delete: statement = deleteSql(rows); break;
    case QueryKind::Crosstab: statement = crosstabSql(rows); break;
    case QueryKind::Union: statement = unionSql(rows); break;
    }
    std::string text = sql::parametersLine(rows, jetVersion) + statement;
    if (rows.options() & query_option::OwnerAccess) text += std::string(CrLf) + "WITH OWNERACCESS OPTION";
    return text + ";" + CrLf;
}

}  // namespace ql::dao
