// Opens a database from arbitrary bytes and reads everything the analysis
// reads: header, catalogue, each object's properties, each local table's
// definition, live row count and rows (with long values). Only the reader's
// own Error may leave it; anything else (a sanitizer report, another
// exception escaping, a hang) is a finding.
#include <cstddef>
#include <cstdint>
#include <variant>
#include <vector>

#include "platform/jet/Database.h"

namespace {

// Enough rows and bytes to reach every decoding path without letting one
// input spend the whole time budget on a large table.
constexpr int kRowsPerTable = 64;
constexpr int kTables = 64;
constexpr std::size_t kLongValueCap = 1u << 20;

void readValue(const ql::jet::Value& value)
{
    if (const auto* lv = value.get<ql::jet::LongValue>()) {
        try {
            if (lv->isMemo())
                (void)lv->text(kLongValueCap);
            else
                (void)lv->bytes(kLongValueCap);
        } catch (const ql::jet::Error&) {
        }
    }
}

void readTable(const ql::jet::Database& db, const ql::jet::CatalogEntry& entry)
{
    const ql::jet::TableDef def = db.tableDef(entry.tdefPage(), entry.name);
    (void)db.liveRecordCount(def);
    ql::jet::TableCursor cursor = db.cursor(def);
    int damagedInARow = 0;
    for (int row = 0; row < kRowsPerTable; ++row) {
        try {
            if (!cursor.next())
                break;
            damagedInARow = 0;
        } catch (const ql::jet::Error&) {
            // The cursor has moved past the bad row; a run of them means the
            // table is beyond reading, as the analysis would also decide.
            if (++damagedInARow > 8)
                break;
            continue;
        }
        for (const ql::jet::Value& value : cursor.values())
            readValue(value);
        (void)cursor.rowPointer();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::optional<ql::jet::Database> db;
    try {
        db = ql::jet::Database::openBuffer(std::vector<std::uint8_t>(data, data + size));
    } catch (const ql::jet::Error&) {
        return 0;
    }
    (void)db->header();
    (void)db->catalogueProblems();
    int tables = 0;
    for (const ql::jet::CatalogEntry& entry : db->catalogue()) {
        try {
            const ql::jet::Binary blob = entry.lvProp(kLongValueCap);
            if (!blob.empty())
                (void)db->properties(blob);
        } catch (const ql::jet::Error&) {
        }
        for (const auto& field : entry.raw)
            readValue(field.second);
        if (entry.type != ql::jet::kObjectLocalTable || tables >= kTables)
            continue;
        ++tables;
        try {
            readTable(*db, entry);
        } catch (const ql::jet::Error&) {
        }
    }
    return 0;
}
