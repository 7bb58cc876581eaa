#include "platform/dao/QueryClauses.h"

#include "platform/dao/SqlNames.h"

namespace ql::dao::sql {

namespace {

// The type words of the PARAMETERS clause by the stored type code.
const char* parameterTypeWord(int code) {
    switch (code) {
    case 1: return "Bit";
    case 2: return "Byte";
    case 3: return "Short";
    case 4: return "Long";
    case 5: return "Currency";
    case 6: return "IEEESingle";
    case 7: return "IEEEDouble";
    case 8: return "DateTime";
    case 9: return "Binary";
    case 10: return "Text";
    case 11: return "LongBinary";
    case 12: return "Memo";
    case 15: return "Guid";
    case 16: return "Decimal";
    default: return "Value";  // 0, and anything a damaged row might hold
    }
}

constexpr int TextParameter = 10;
// Jet 4 writes a text parameter without a stored size as the longest text.
constexpr std::int32_t DefaultTextSize = 255;

}  // namespace

std::string joinTexts(const std::vector<std::string>& items, const std::string& separator) {
    std::string result;
    for (size_t i = 0; i < items.size(); ++i) {
        if (i) result += separator;
        result += items[i];
    }
    return result;
}

std::vector<const QueryRow*> rowsWhere(const std::vector<const QueryRow*>& rows,
                                       const std::function<bool(const QueryRow&)>& keep) {
    std::vector<const QueryRow*> result;
    for (const QueryRow* row : rows)
        if (!keep || keep(*row)) result.push_back(row);
    return result;
}

std::string parametersLine(const QueryRowSet& rows, int jetVersion) {
    std::vector<std::string> declarations;
    for (const QueryRow* row : rows.all(query_attribute::Parameter)) {
        if (!row->name1) continue;
        const int type = row->flag.value_or(0);
        std::string declaration = sqlParameterName(*row->name1) + " " + parameterTypeWord(type);
        if (type == TextParameter && jetVersion >= 4) {
            const std::int32_t size = row->lvExtra.value_or(0) > 0 ? *row->lvExtra : DefaultTextSize;
            declaration += " ( " + std::to_string(size) + " )";
        }
        declarations.push_back(std::move(declaration));
    }
    if (declarations.empty()) return {};
    return "PARAMETERS " + joinTexts(declarations, ", ") + ";" + CrLf;
}

std::string predicates(const QueryRowSet& rows) {
    const int options = rows.options();
    std::string result;
    // DISTINCT wins over DISTINCTROW; TOP follows either.
    if (options & query_option::Distinct) result += "DISTINCT ";
    else if (options & query_option::DistinctRow) result += "DISTINCTROW ";
    const QueryRow* optionRow = rows.first(query_attribute::Options);
    if ((options & query_option::Top) && optionRow && optionRow->name1 && !optionRow->name1->empty()) {
        result += "TOP " + *optionRow->name1 + " ";
        if (options & query_option::Percent) result += "PERCENT ";
    }
    return result;
}

std::string columnList(const std::vector<const QueryRow*>& columns, bool allFields) {
    std::vector<std::string> items;
    for (const QueryRow* row : columns) {
        if (!row->expression) continue;
        std::string item = *row->expression;
        if (row->name1 && !row->name1->empty()) item += " AS " + sqlName(*row->name1);
        items.push_back(std::move(item));
    }
    if (allFields) items.emplace_back("*");
    return joinTexts(items, ", ");
}

std::string inDatabase(const std::optional<std::string>& path, const std::optional<std::string>& type) {
    if (!path && !type) return {};
    std::string result = " IN '" + path.value_or("") + "'";
    if (type) result += " [" + *type + "]";
    return result;
}

std::string orderByLine(const QueryRowSet& rows) {
    std::vector<std::string> orders;
    for (const QueryRow* row : rows.all(query_attribute::OrderBy)) {
        if (!row->expression) continue;
        const bool descending =
            row->name1 && !row->name1->empty() && (row->name1->front() == 'D' || row->name1->front() == 'd');
        orders.push_back(*row->expression + (descending ? " DESC" : ""));
    }
    if (orders.empty()) return {};
    return std::string(CrLf) + "ORDER BY " + joinTexts(orders, ", ");
}

std::string trailingClauses(const QueryRowSet& rows, const std::function<bool(const QueryRow&)>& keepGroup) {
    std::string result;
    if (const QueryRow* where = rows.first(query_attribute::Where); where && where->expression)
        result += std::string(CrLf) + "WHERE " + *where->expression;

    std::vector<std::string> groups;
    for (const QueryRow* row : rowsWhere(rows.all(query_attribute::GroupBy), keepGroup))
        if (row->expression) groups.push_back(*row->expression);
    if (!groups.empty()) result += std::string(CrLf) + "GROUP BY " + joinTexts(groups, ", ");

    if (const QueryRow* having = rows.first(query_attribute::Having); having && having->expression)
        result += std::string(CrLf) + "HAVING " + *having->expression;

    result += orderByLine(rows);
    return result;
}

}  // namespace ql::dao::sql
