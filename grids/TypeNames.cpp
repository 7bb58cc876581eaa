#include "grids/Fillers.h"

#include <array>
#include <utility>

namespace ql::grids {

std::string FieldTypeName(std::int16_t type) {
    // Codes 13 and 14 are left without a name on purpose.
    static constexpr std::array<std::pair<std::int16_t, const char*>, 21> kNames{{
        {1, "Boolean"},   {2, "Byte"},      {3, "Integer"},  {4, "Long"},        {5, "Currency"},
        {6, "Single"},    {7, "Double"},    {8, "Date"},     {9, "Binary"},      {10, "Text"},
        {11, "Long Binary"}, {12, "Memo"},  {15, "GUID"},    {16, "BigInt"},     {17, "Var Binary"},
        {18, "Char"},     {19, "Numeric"},  {20, "Decimal"}, {21, "Float"},      {22, "Time"},
        {23, "TimeStamp"},
    }};
    for (const auto& [code, name] : kNames)
        if (code == type) return name;
    return "Unknown";
}

std::string QueryTypeName(std::int16_t type) {
    static constexpr std::array<std::pair<std::int16_t, const char*>, 13> kNames{{
        {240, "Action"},     {64, "Insert"},          {160, "Compound"}, {16, "CrossTab"}, {96, "DDL"},
        {32, "Delete"},      {80, "MakeTable"},       {224, "Procedure"}, {0, "Select"},   {128, "SetOperation"},
        {112, "SQLPassThrough"}, {144, "SPTBulk"},    {48, "Update"},
    }};
    for (const auto& [code, name] : kNames)
        if (code == type) return name;
    return "Unknown";
}

}  // namespace ql::grids
