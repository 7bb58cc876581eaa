// Where each column of a table lives in a row and how its definition block describes it.
#pragma once

#include "tools/jetwriter/Schema.h"

#include <cstdint>
#include <vector>

namespace ql::jetwriter {

namespace colflag {
inline constexpr std::uint8_t Fixed = 0x01;
inline constexpr std::uint8_t Always = 0x02; // set on practically every column Access writes
inline constexpr std::uint8_t AutoLong = 0x04;
inline constexpr std::uint8_t System = 0x10; // seen on every column of Jet's own tables
inline constexpr std::uint8_t AutoGuid = 0x40;
inline constexpr std::uint8_t ExtraCompressed = 0x01; // in the second flags byte
} // namespace colflag

struct ColumnLayout {
    ColumnDef def;
    std::uint16_t number = 0;
    std::uint16_t varIndex = 0;
    std::uint16_t fixedOffset = 0;
    std::uint16_t length = 0; // bytes, as the definition block states it
    bool fixed = false;
    std::uint8_t flags = 0;
    std::uint8_t extraFlags = 0;
};

struct TableLayout {
    std::vector<ColumnLayout> columns; // in column-number order
    std::uint16_t fixedSize = 0;
    std::uint16_t varCount = 0;
    std::uint16_t longValueColumns = 0;
    bool system = false;
};

// Storage size of a fixed column, 0 for Boolean (its value is the null-mask bit).
std::uint16_t fixedSizeOf(ColumnType t);
bool isFixedType(ColumnType t);
bool isLongValue(ColumnType t);

// Validates the definition (types, sizes, name uniqueness) and lays it out.
TableLayout layoutTable(const TableDef& def, bool system);

} // namespace ql::jetwriter
