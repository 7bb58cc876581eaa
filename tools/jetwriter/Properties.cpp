#include "tools/jetwriter/Properties.h"

#include <algorithm>
#include <stdexcept>

namespace ql::jetwriter {

namespace {
constexpr std::uint16_t kNamesChunk = 0x80;
constexpr std::uint16_t kOwnChunk = 0x00;
constexpr std::uint16_t kNamedChunk = 0x01;

Bytes ucs2(const std::string& utf8)
{
    Bytes b;
    for (char16_t c : utf8ToUtf16(utf8)) put16(b, c);
    return b;
}
} // namespace

Property Property::text(std::string name, const std::string& utf8, bool ddl)
{
    return {std::move(name), ColumnType::Text, ucs2(utf8), ddl};
}

Property Property::boolean(std::string name, bool value, bool ddl)
{
    return {std::move(name), ColumnType::Boolean, Bytes{static_cast<std::uint8_t>(value ? 0xFF : 0x00)}, ddl};
}

Bytes buildPropertyBlob(const std::vector<PropertySet>& sets)
{
    std::vector<std::string> names;
    for (const PropertySet& s : sets)
        for (const Property& p : s.properties)
            if (std::find(names.begin(), names.end(), p.name) == names.end()) names.push_back(p.name);
    if (names.empty()) return {};
    Bytes blob{'M', 'R', '2', 0};
    Bytes dict;
    for (const std::string& n : names) putName(dict, n);
    put32(blob, static_cast<std::uint32_t>(6 + dict.size()));
    put16(blob, kNamesChunk);
    blob.insert(blob.end(), dict.begin(), dict.end());
    for (const PropertySet& s : sets) {
        if (s.properties.empty()) continue;
        Bytes body;
        const Bytes setName = ucs2(s.name);
        put32(body, static_cast<std::uint32_t>(6 + setName.size())); // this header's own length
        put16(body, static_cast<std::uint16_t>(setName.size()));
        body.insert(body.end(), setName.begin(), setName.end());
        for (const Property& p : s.properties) {
            if (p.data.size() > 0xFFF0) throw std::invalid_argument("property " + p.name + " too long");
            const auto index = std::find(names.begin(), names.end(), p.name) - names.begin();
            put16(body, static_cast<std::uint16_t>(8 + p.data.size()));
            put8(body, p.ddl ? 1 : 0);
            put8(body, static_cast<std::uint8_t>(p.type));
            put16(body, static_cast<std::uint16_t>(index));
            put16(body, static_cast<std::uint16_t>(p.data.size()));
            body.insert(body.end(), p.data.begin(), p.data.end());
        }
        put32(blob, static_cast<std::uint32_t>(6 + body.size()));
        put16(blob, s.name.empty() ? kOwnChunk : kNamedChunk);
        blob.insert(blob.end(), body.begin(), body.end());
    }
    return blob;
}

Bytes tableProperties(const TableDef& def)
{
    std::vector<PropertySet> sets;
    PropertySet own;
    if (!def.description.empty()) own.properties.push_back(Property::text("Description", def.description));
    sets.push_back(own);
    for (const ColumnDef& c : def.columns) {
        PropertySet col{c.name, {}};
        if (!c.description.empty()) col.properties.push_back(Property::text("Description", c.description));
        if (c.required) col.properties.push_back(Property::boolean("Required", true, true));
        sets.push_back(col);
    }
    return buildPropertyBlob(sets);
}

} // namespace ql::jetwriter
