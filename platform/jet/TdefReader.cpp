#include "platform/jet/TdefReader.h"

#include <algorithm>
#include <unordered_set>

#include "platform/jet/DataPage.h"
#include "platform/jet/Value.h"

namespace ql::jet::detail {

namespace {
// Far above any real definition (255 columns and 32 indexes need well under
// 100 KB); a chain longer than this is damage, not a table.
constexpr std::size_t kMaxTdefBytes = 8u * 1024 * 1024;
constexpr std::size_t kTdefPageHeader = 8;
constexpr std::size_t kIndexColumnSlots = 10;
constexpr std::uint16_t kUnusedColumn = 0xFFFF;
constexpr std::uint8_t kSystemTable = 'S';

std::string readName(const Context& context, ByteSpan stream, std::size_t& pos, const char* what) {
    const Format& f = *context.format;
    const std::size_t len = f.nameLengthSize == 1 ? u8(stream, pos, what) : u16(stream, pos, what);
    pos += f.nameLengthSize;
    const ByteSpan bytes = sub(stream, pos, len, what);
    pos += len;
    return context.codec->decodeName(bytes);
}

void checkCount(ByteSpan stream, std::size_t pos, std::uint64_t count, std::size_t size, const char* what) {
    if (count * size > stream.size() - std::min(pos, stream.size()))
        damaged(std::string("table definition claims ") + std::to_string(count) + " " + what +
                ", more than its " + std::to_string(stream.size()) + " bytes can hold");
}
}  // namespace

std::vector<std::uint8_t> readTdefStream(const Context& context, std::uint32_t firstPage) {
    std::vector<std::uint8_t> stream;
    std::unordered_set<std::uint32_t> seen;
    std::uint32_t pageNumber = firstPage;
    bool first = true;
    while (pageNumber != 0 || first) {
        if (!seen.insert(pageNumber).second)
            damaged("the table definition starting at page " + std::to_string(firstPage) +
                    " loops back to page " + std::to_string(pageNumber));
        const Page page = context.pages->page(pageNumber);
        if (page.type() != kPageTableDef)
            damaged("page " + std::to_string(pageNumber) + " of the table definition starting at page " +
                    std::to_string(firstPage) + " is not a table definition page (type " +
                    std::to_string(page.type()) + ")");
        const ByteSpan bytes = page.bytes();
        if (first)
            stream.insert(stream.end(), bytes.begin(), bytes.end());
        else
            stream.insert(stream.end(), bytes.begin() + kTdefPageHeader, bytes.end());
        if (stream.size() > kMaxTdefBytes)
            damaged("the table definition starting at page " + std::to_string(firstPage) + " exceeds " +
                    std::to_string(kMaxTdefBytes) + " bytes");
        pageNumber = u32(bytes, 4, "next TDEF page");
        first = false;
    }
    return stream;
}

TableDef readTableDef(const Context& context, std::uint32_t firstPage) {
    const Format& f = *context.format;
    const std::vector<std::uint8_t> data = readTdefStream(context, firstPage);
    ByteSpan stream(data);
    const std::uint32_t declared = u32(stream, 8, "TDEF length");
    if (declared >= f.tdefFirstBlock && declared < stream.size()) stream = stream.first(declared);

    TableDef def;
    def.page = firstPage;
    def.storedRowCount = u32(stream, f.tdefRowCount, "row count");
    def.nextAutoNumber = u32(stream, f.tdefAutoNumber, "next AutoNumber");
    def.systemTable = u8(stream, f.tdefTableType, "table type") == kSystemTable;
    def.maxColumns = u16(stream, f.tdefMaxColumns, "column count");
    def.varColumns = u16(stream, f.tdefVarColumns, "variable column count");
    const std::uint16_t columnCount = u16(stream, f.tdefColumnCount, "column count");
    const std::uint32_t logicalCount = u32(stream, f.tdefLogicalIndexCount, "index count");
    const std::uint32_t realCount = u32(stream, f.tdefRealIndexCount, "index count");
    def.ownedMap = u32(stream, f.tdefOwnedMap, "usage map pointer");
    def.freeMap = u32(stream, f.tdefFreeMap, "free space map pointer");

    std::size_t pos = f.tdefFirstBlock;
    checkCount(stream, pos, realCount, f.realIndexCounterSize + f.realIndexBlockSize, "real indexes");
    checkCount(stream, pos, logicalCount, f.logicalIndexBlockSize, "logical indexes");
    std::vector<std::uint32_t> distinct(realCount);
    for (std::uint32_t i = 0; i < realCount; ++i) {
        distinct[i] = u32(stream, pos + 4, "index key count");
        pos += f.realIndexCounterSize;
    }

    checkCount(stream, pos, columnCount, f.columnBlockSize, "columns");
    std::vector<Column> columns(columnCount);
    for (Column& c : columns) {
        const ByteSpan block = sub(stream, pos, f.columnBlockSize, "column block");
        c.type = block[0];
        c.number = u16(block, f.colNumber);
        c.varIndex = u16(block, f.colVarIndex);
        c.flags = block[f.colFlags];
        if (f.colExtraFlags) c.extraFlags = block[f.colExtraFlags];
        c.fixedOffset = u16(block, f.colFixedOffset);
        c.length = u16(block, f.colLength);
        if (c.type == static_cast<std::uint8_t>(ColumnType::Decimal)) {
            c.precision = block[f.colPrecision];
            c.scale = block[f.colScale];
        } else if (c.type == static_cast<std::uint8_t>(ColumnType::Text) ||
                   c.type == static_cast<std::uint8_t>(ColumnType::Memo)) {
            c.sortLcid = u16(block, f.colLcid);
            if (f.colCodePage) c.codePage = u16(block, f.colCodePage);
        }
        pos += f.columnBlockSize;
    }
    for (Column& c : columns) c.name = readName(context, stream, pos, "column name");
    std::stable_sort(columns.begin(), columns.end(),
                     [](const Column& a, const Column& b) { return a.number < b.number; });
    def.columns = std::move(columns);

    auto columnName = [&](std::uint16_t number) -> std::string {
        for (const Column& c : def.columns)
            if (c.number == number) return c.name;
        return {};
    };

    def.realIndexes.resize(realCount);
    for (std::uint32_t i = 0; i < realCount; ++i) {
        const ByteSpan block = sub(stream, pos, f.realIndexBlockSize, "index block");
        RealIndex& index = def.realIndexes[i];
        std::size_t p = f.realIndexPrefix;
        for (std::size_t k = 0; k < kIndexColumnSlots; ++k, p += 3) {
            const std::uint16_t number = u16(block, p);
            if (number == kUnusedColumn) continue;
            index.columns.push_back({number, columnName(number), block[p + 2] == 1});
        }
        index.usageMap = u32(block, p);
        index.rootPage = u32(block, p + 4);
        index.flags = block[f.realIndexFlagsOffset];
        index.distinctKeys = distinct[i];
        pos += f.realIndexBlockSize;
    }

    def.indexes.resize(logicalCount);
    for (LogicalIndex& index : def.indexes) {
        const ByteSpan block = sub(stream, pos + f.logicalIndexPrefix, 20, "logical index block");
        index.number = u32(block, 0);
        index.realIndex = u32(block, 4);
        index.relationshipSide = block[8];
        index.otherIndexNumber = static_cast<std::int32_t>(u32(block, 9));
        index.otherTablePage = u32(block, 0x0D);
        index.type = block[0x13];
        if (index.type == kIndexForeignKey) {
            index.cascadeUpdates = block[0x11] & 0x01;
            index.cascadeDeletes = block[0x12] & 0x01;
        }
        if (index.realIndex >= def.realIndexes.size())
            damaged("index " + std::to_string(index.number) + " of the table at page " + std::to_string(firstPage) +
                    " refers to real index " + std::to_string(index.realIndex) + " of " +
                    std::to_string(def.realIndexes.size()));
        index.columns = def.realIndexes[index.realIndex].columns;
        index.flags = def.realIndexes[index.realIndex].flags;
        pos += f.logicalIndexBlockSize;
    }
    for (LogicalIndex& index : def.indexes) index.name = readName(context, stream, pos, "index name");
    return def;
}

}  // namespace ql::jet::detail
