#include "tools/jetwriter/Layout.h"

#include <set>
#include <stdexcept>

namespace ql::jetwriter {

std::uint16_t fixedSizeOf(ColumnType t)
{
    switch (t) {
    case ColumnType::Boolean: return 0;
    case ColumnType::Byte: return 1;
    case ColumnType::Integer: return 2;
    case ColumnType::Long: return 4;
    case ColumnType::Single: return 4;
    case ColumnType::Currency:
    case ColumnType::Double:
    case ColumnType::DateTime: return 8;
    case ColumnType::Guid: return 16;
    case ColumnType::Decimal: return 17;
    case ColumnType::AccessObjectData: return 3992;
    default: return 0;
    }
}

bool isFixedType(ColumnType t)
{
    return !(t == ColumnType::Text || t == ColumnType::Binary || t == ColumnType::Memo || t == ColumnType::Ole);
}

bool isLongValue(ColumnType t) { return t == ColumnType::Memo || t == ColumnType::Ole; }

TableLayout layoutTable(const TableDef& def, bool system)
{
    if (def.name.empty() || def.name.size() > 64) throw std::invalid_argument("table name must be 1..64 characters");
    if (def.columns.empty() || def.columns.size() > 255)
        throw std::invalid_argument("table " + def.name + " must have 1..255 columns");
    TableLayout out;
    out.system = system;
    std::set<std::string> names;
    std::uint16_t fixedOff = 0;
    for (std::size_t i = 0; i < def.columns.size(); ++i) {
        const ColumnDef& c = def.columns[i];
        if (c.name.empty() || !names.insert(c.name).second)
            throw std::invalid_argument("table " + def.name + ": empty or repeated column name '" + c.name + "'");
        ColumnLayout l;
        l.def = c;
        l.number = static_cast<std::uint16_t>(i);
        l.fixed = isFixedType(c.type);
        l.flags = colflag::Always | (system ? colflag::System : 0);
        switch (c.type) {
        case ColumnType::Text:
            if (c.size < 1 || c.size > 255) throw std::invalid_argument("column " + c.name + ": Text size must be 1..255");
            l.length = static_cast<std::uint16_t>(c.size * 2);
            if (c.compressed) l.extraFlags |= colflag::ExtraCompressed;
            break;
        case ColumnType::Binary:
            if (c.size < 1 || c.size > 255) throw std::invalid_argument("column " + c.name + ": Binary size must be 1..255");
            l.length = c.size;
            break;
        case ColumnType::Memo:
            if (c.compressed) l.extraFlags |= colflag::ExtraCompressed;
            [[fallthrough]];
        case ColumnType::Ole:
            l.length = 0;
            ++out.longValueColumns;
            break;
        case ColumnType::Boolean:
            l.length = 1;
            break;
        case ColumnType::Decimal:
            if (c.precision < 1 || c.precision > 28 || c.scale > c.precision)
                throw std::invalid_argument("column " + c.name + ": Decimal precision 1..28, scale <= precision");
            l.length = fixedSizeOf(c.type);
            break;
        default:
            l.length = fixedSizeOf(c.type);
        }
        if (c.autoNumber) {
            if (c.type == ColumnType::Long) l.flags |= colflag::AutoLong;
            else if (c.type == ColumnType::Guid) l.flags |= colflag::AutoGuid;
            else throw std::invalid_argument("column " + c.name + ": only Long and GUID columns can be AutoNumber");
        }
        if (l.fixed) {
            l.flags |= colflag::Fixed;
            l.fixedOffset = fixedOff;
            fixedOff = static_cast<std::uint16_t>(fixedOff + fixedSizeOf(c.type));
        } else {
            l.varIndex = out.varCount++;
        }
        out.columns.push_back(l);
    }
    out.fixedSize = fixedOff;
    return out;
}

} // namespace ql::jetwriter
