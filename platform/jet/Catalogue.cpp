#include "platform/jet/Catalogue.h"

#include "platform/jet/Database.h"
#include "platform/text/Names.h"

namespace ql::jet {

std::optional<std::size_t> columnIndex(const TableDef& table, std::string_view name) {
    const std::string wanted(name);
    for (std::size_t i = 0; i < table.columns.size(); ++i)
        if (text::sameName(table.columns[i].name, wanted)) return i;
    return std::nullopt;
}

std::int64_t integerValue(const Value& value, std::int64_t fallback) {
    if (auto v = value.get<bool>()) return *v ? -1 : 0;
    if (auto v = value.get<std::uint8_t>()) return *v;
    if (auto v = value.get<std::int16_t>()) return *v;
    if (auto v = value.get<std::int32_t>()) return *v;
    return fallback;
}

std::optional<std::string> textValue(const Value& value) {
    if (auto s = value.get<std::string>()) return *s;
    if (auto l = value.get<LongValue>()) return l->isMemo() ? l->text() : std::string();
    return std::nullopt;
}

}  // namespace ql::jet
