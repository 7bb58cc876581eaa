#include "platform/vba/Modules2.h"

#include "platform/vba/ByteReader.h"
#include "platform/text/CodePage.h"
#include "platform/text/Unicode.h"
#include "platform/vba/VbaError.h"

#include <map>

namespace ql::vba {
namespace {

constexpr std::string_view kBlobMagic{"\x69\x12\x04\x00", 4};
constexpr std::size_t kRecordsStart = 8;  // magic, then a u32 we do not need
constexpr std::string_view kProjectRow = "MSysDb";
constexpr std::string_view kLockRow = "Lock";
constexpr std::string_view kProjectRecord = "_VBA_PROJECT";
constexpr std::string_view kVba5ProjectMagic{"\xCC\x61\x5E\x00", 4};
constexpr std::size_t kVba5CodePageOffset = 16;

std::string withoutTerminator(std::string name) {
    while (!name.empty() && name.back() == '\0') name.pop_back();
    return name;
}

}  // namespace

std::vector<Modules2Record> parseModules2Blob(std::string_view blob) {
    if (blob.substr(0, kBlobMagic.size()) != kBlobMagic)
        throw VbaError(VbaErrorKind::Corrupt, "module blob does not start with 69 12 04 00");
    detail::require(blob, 0, kRecordsStart, "module blob header");
    std::vector<Modules2Record> records;
    std::size_t p = kRecordsStart;
    while (p < blob.size()) {
        const std::uint8_t nameLength = detail::u8(blob, p, "module blob record name length");
        detail::require(blob, p + 1, nameLength, "module blob record name");
        Modules2Record record;
        record.name = withoutTerminator(text::utf16leToUtf8(blob.substr(p + 1, nameLength), text::OddByte::Replace));
        p += 1u + nameLength;
        const std::uint32_t size = detail::u32(blob, p, "module blob record size");
        detail::require(blob, p + 4, size, "module blob record data");
        record.data = std::string(blob.substr(p + 4, size));
        p += 4u + size;
        records.push_back(std::move(record));
    }
    return records;
}

int modules2CodePage(const std::vector<Modules2Row>& rows) {
    const Modules2Row* project = nullptr;
    for (const auto& row : rows)
        if (row.name == kProjectRow && row.module && (!project || row.version > project->version)) project = &row;
    if (!project) return 0;
    try {
        for (const auto& record : parseModules2Blob(*project->module)) {
            if (record.name != kProjectRecord) continue;
            if (std::string_view(record.data).substr(0, 4) != kVba5ProjectMagic) return 0;
            return detail::u16(record.data, kVba5CodePageOffset, "project code page");
        }
    } catch (const VbaError&) {
        // A damaged project row only costs the code page; the caller falls back.
    }
    return 0;
}

std::vector<const Modules2Row*> modules2ModuleRows(const std::vector<Modules2Row>& rows) {
    std::map<std::string, const Modules2Row*> newest;
    std::vector<std::string> order;
    for (const auto& row : rows) {
        if (row.name == kProjectRow || row.name == kLockRow || !row.module) continue;
        auto [it, inserted] = newest.emplace(row.name, &row);
        if (inserted) {
            order.push_back(row.name);
        } else if (row.version > it->second->version) {
            it->second = &row;
        }
    }
    std::vector<const Modules2Row*> out;
    for (const auto& name : order) out.push_back(newest[name]);
    return out;
}

}  // namespace ql::vba
