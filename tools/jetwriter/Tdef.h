// The table-definition stream (TDEF) and its split into pages.
#pragma once

#include "tools/jetwriter/Layout.h"
#include "tools/jetwriter/PageFile.h"

#include <cstdint>
#include <vector>

namespace ql::jetwriter {

struct RealIndexInfo {
    std::vector<std::pair<std::uint16_t, bool>> columns; // column number, ascending
    std::uint8_t flags = 0;
    std::uint32_t usageMap = 0; // row pointer
    std::uint32_t rootPage = 0;
    // Distinct keys (a null counts as one), stored next to the row count in the definition.
    std::uint32_t distinctKeys = 0;
};

struct LogicalIndexInfo {
    std::string name;
    std::uint32_t realIndex = 0;
    bool primaryKey = false;
};

struct LongValueMaps {
    std::uint16_t column = 0;
    std::uint32_t owned = 0;
    std::uint32_t free = 0;
};

struct TdefContent {
    const TableLayout* layout = nullptr;
    const std::vector<std::string>* columnNames = nullptr;
    std::uint32_t rowCount = 0;
    std::uint32_t nextAutoNumber = 1;
    std::uint32_t ownedMap = 0;
    std::uint32_t freeMap = 0;
    std::vector<RealIndexInfo> realIndexes;
    std::vector<LogicalIndexInfo> logicalIndexes;
    std::vector<LongValueMaps> longValueMaps;
};

Bytes buildTdefStream(const TdefContent& c);
// Pages a stream of `streamSize` bytes takes: the first page whole, then 8-byte headers.
std::uint32_t tdefPagesFor(std::size_t streamSize);
// Writes `stream` onto `pages` (as many as tdefPagesFor says), chaining them.
void writeTdef(PageFile& file, const Bytes& stream, const std::vector<std::uint32_t>& pages);

} // namespace ql::jetwriter
