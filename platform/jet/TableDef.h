#pragma once
// A table's definition as stored: columns, indexes and where its rows live.
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/jet/Value.h"

namespace ql::jet {

// Column flag bits.
inline constexpr std::uint8_t kColumnFixed = 0x01;      // stored in the fixed area
inline constexpr std::uint8_t kColumnAutoNumber = 0x04;  // AutoNumber (Long)
inline constexpr std::uint8_t kColumnAutoGuid = 0x40;    // with type GUID: ReplicationID AutoNumber
inline constexpr std::uint8_t kColumnHyperlink = 0x80;   // with type Memo
// Jet 4 extra flag bits.
inline constexpr std::uint8_t kColumnCompressedUnicode = 0x01;

struct Column {
    std::string name;
    std::uint8_t type = 0;        // a ColumnType, as stored (unknown codes are kept)
    std::uint16_t number = 0;     // null-mask bit; ordinal order follows it
    std::uint16_t varIndex = 0;   // slot in the variable-offset table
    std::uint16_t fixedOffset = 0;
    std::uint16_t length = 0;     // bytes as stored (Jet 4 text: twice the characters; memo/OLE: 0)
    std::uint8_t flags = 0;
    std::uint8_t extraFlags = 0;  // Jet 4 only
    std::uint8_t precision = 0;   // Decimal
    std::uint8_t scale = 0;       // Decimal
    std::uint16_t sortLcid = 0;   // text columns
    std::uint16_t codePage = 0;   // Jet 3 text columns
    bool isFixed() const { return flags & kColumnFixed; }
    bool isAutoNumber() const { return flags & kColumnAutoNumber; }
    bool isLong() const {
        return type == static_cast<std::uint8_t>(ColumnType::OLE) || type == static_cast<std::uint8_t>(ColumnType::Memo);
    }
};

struct IndexColumn {
    std::uint16_t columnNumber = 0;
    std::string name;  // the column's name (empty when the number matches no live column)
    bool ascending = true;
};

// Real-index flag bits.
inline constexpr std::uint8_t kIndexUnique = 0x01;
inline constexpr std::uint8_t kIndexIgnoreNulls = 0x02;
inline constexpr std::uint8_t kIndexRequired = 0x08;

// The stored B-tree.
struct RealIndex {
    std::vector<IndexColumn> columns;
    std::uint32_t usageMap = 0;  // row pointer
    std::uint32_t rootPage = 0;
    std::uint8_t flags = 0;
    std::uint32_t distinctKeys = 0;
};

// Logical-index types.
inline constexpr std::uint8_t kIndexNormal = 0;
inline constexpr std::uint8_t kIndexPrimaryKey = 1;
inline constexpr std::uint8_t kIndexForeignKey = 2;

// A named index as DAO sees it; several can share one real index.
struct LogicalIndex {
    std::string name;
    std::uint32_t number = 0;
    std::uint32_t realIndex = 0;     // position in TableDef::realIndexes
    std::uint8_t type = kIndexNormal;
    // Relationship side: 1 = this table is referenced, 2 = it refers; 0 = none.
    std::uint8_t relationshipSide = 0;
    std::int32_t otherIndexNumber = -1;
    std::uint32_t otherTablePage = 0;
    bool cascadeUpdates = false;
    bool cascadeDeletes = false;
    // Copied from the real index for convenience.
    std::vector<IndexColumn> columns;
    std::uint8_t flags = 0;
    bool isPrimary() const { return type == kIndexPrimaryKey; }
    bool isForeignKey() const { return type == kIndexForeignKey; }
    bool isUnique() const { return flags & kIndexUnique; }
};

struct TableDef {
    std::string name;               // from the catalogue; empty when read by page only
    std::uint32_t page = 0;         // first TDEF page
    bool systemTable = false;       // table type byte 'S'
    std::uint32_t storedRowCount = 0;  // not always right: see Database::liveRecordCount
    std::uint32_t nextAutoNumber = 0;
    std::uint16_t maxColumns = 0;   // column numbers ever used, deleted ones included
    std::uint16_t varColumns = 0;
    std::vector<Column> columns;    // in ordinal (DAO) order
    std::vector<RealIndex> realIndexes;
    std::vector<LogicalIndex> indexes;  // in stored order
    std::uint32_t ownedMap = 0;     // row pointer of the usage map of the table's data pages
    std::uint32_t freeMap = 0;

    const Column* column(const std::string& name) const;  // case-insensitive
};

}  // namespace ql::jet
