#include "analysis/FormatQuerySql.h"

#include <array>
#include <string_view>

namespace ql::analysis {

namespace {

struct Replacement {
    std::string_view find;
    std::string_view replaceWith;
};

// The order matters: later steps see what earlier ones wrote, and an "AND"
// already moved to the start of a line no longer has a blank before it.
constexpr std::array<Replacement, 13> Steps = {{
    {"PARAMETERS ", "\t"},
    {" SET ", "\r\nSET "},
    {", ", ",\r\n\t"},
    {" AND ", "\r\n\tAND "},
    {" OR ", "\r\n\tOR "},
    {" and ", "\r\n\tAND "},
    {" or ", "\r\n\tOR "},
    {" And ", "\r\n\tAND "},
    {" Or ", "\r\n\tOR "},
    {" INNER JOIN", "\r\nINNER JOIN"},
    {" LEFT JOIN", "\r\nLEFT JOIN"},
    {" RIGHT JOIN", "\r\nRIGHT JOIN"},
    {" ON ", "\r\n\tON "},
}};

// Like VB's Replace: scans left to right and never looks again at text it
// has just put in.
std::string replaceAll(const std::string& text, std::string_view find, std::string_view replaceWith) {
    std::string result;
    result.reserve(text.size());
    size_t from = 0;
    for (size_t at; (at = text.find(find, from)) != std::string::npos; from = at + find.size()) {
        result.append(text, from, at - from);
        result.append(replaceWith);
    }
    result.append(text, from, std::string::npos);
    return result;
}

}  // namespace

void FormatQuerySql(std::string& sql) {
    for (const Replacement& step : Steps) sql = replaceAll(sql, step.find, step.replaceWith);
}

}  // namespace ql::analysis
