#pragma once
// Where each field lives in one version of the file format. Jet 3 and Jet 4
// differ in offsets and sizes but not in structure, so the decoders read
// through one of these two tables instead of asking "which version?".
#include <cstdint>

namespace ql::jet::detail {

struct Format {
    bool jet4;
    std::uint32_t pageSize;

    // Header page (after unmasking).
    std::uint32_t maskedLength;       // bytes from 0x18 XORed with the fixed keystream
    std::uint32_t sortOrderOffset;    // LCID
    std::uint32_t passwordLength;     // bytes at 0x42

    // Data pages.
    std::uint32_t dataRowCountOffset;  // u16 row count, then the u16 offset table

    // Table definition stream.
    std::uint32_t tdefRowCount;
    std::uint32_t tdefAutoNumber;
    std::uint32_t tdefTableType;
    std::uint32_t tdefMaxColumns;
    std::uint32_t tdefVarColumns;
    std::uint32_t tdefColumnCount;
    std::uint32_t tdefLogicalIndexCount;
    std::uint32_t tdefRealIndexCount;
    std::uint32_t tdefOwnedMap;
    std::uint32_t tdefFreeMap;
    std::uint32_t tdefFirstBlock;      // first per-real-index counter
    std::uint32_t realIndexCounterSize;

    // Column block.
    std::uint32_t columnBlockSize;
    std::uint32_t colNumber;
    std::uint32_t colVarIndex;
    std::uint32_t colLcid;
    std::uint32_t colCodePage;         // Jet 3 only (0 = none)
    std::uint32_t colPrecision;
    std::uint32_t colScale;
    std::uint32_t colSortVersion;      // Jet 4 only (0 = none)
    std::uint32_t colFlags;
    std::uint32_t colExtraFlags;       // Jet 4 only (0 = none)
    std::uint32_t colFixedOffset;
    std::uint32_t colLength;

    // Names: length prefix size; Jet 4 names are UCS-2.
    std::uint32_t nameLengthSize;

    // Real-index block.
    std::uint32_t realIndexBlockSize;
    std::uint32_t realIndexPrefix;     // unknown bytes before the column list
    std::uint32_t realIndexFlagsOffset;

    // Logical-index block.
    std::uint32_t logicalIndexBlockSize;
    std::uint32_t logicalIndexPrefix;

    // Rows.
    std::uint32_t rowColumnCountSize;  // 1 (Jet 3) or 2 (Jet 4)
};

extern const Format kJet3;
extern const Format kJet4;

}  // namespace ql::jet::detail
