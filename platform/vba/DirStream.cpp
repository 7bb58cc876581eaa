#include "platform/vba/DirStream.h"

#include "platform/vba/ByteReader.h"
#include "platform/text/CodePage.h"
#include "platform/text/Unicode.h"
#include "platform/vba/VbaError.h"

namespace ql::vba {
namespace {

enum RecordId : std::uint16_t {
    kProjectCodePage = 0x0003,
    kProjectName = 0x0004,
    kProjectVersion = 0x0009,
    kDirTerminator = 0x0010,
    kModuleName = 0x0019,
    kModuleStreamName = 0x001A,
    kModuleTypeProcedural = 0x0021,
    kModuleTypeDocument = 0x0022,
    kModuleTerminator = 0x002B,
    kModuleOffset = 0x0031,
    kModuleStreamNameUnicode = 0x0032,
    kModuleNameUnicode = 0x0047,
};

// The version record declares 4 bytes but carries 6 (major u32, minor u16).
constexpr std::size_t kProjectVersionBody = 6;

struct PendingModule {
    DirModule module;
    std::string mbcsName, mbcsStream;
    bool open = false;
};

}  // namespace

DirInfo parseDirStream(std::string_view data) {
    DirInfo info;
    PendingModule current;
    std::vector<PendingModule> pending;

    auto finish = [&] {
        if (current.open) pending.push_back(std::move(current));
        current = PendingModule{};
    };

    std::size_t p = 0;
    bool terminated = false;
    while (p < data.size()) {
        const std::uint16_t id = detail::u16(data, p, "dir record id");
        const std::uint32_t declared = detail::u32(data, p + 2, "dir record size");
        const std::size_t size = id == kProjectVersion ? kProjectVersionBody : declared;
        detail::require(data, p + 6, size, "dir record");
        const std::string_view body = data.substr(p + 6, size);
        p += 6 + size;

        switch (id) {
        case kProjectCodePage:
            info.codePage = detail::u16(body, 0, "project code page");
            break;
        case kProjectName:
            info.projectName = std::string(body);
            break;
        case kModuleName:
            finish();
            current.open = true;
            current.mbcsName = std::string(body);
            break;
        case kModuleNameUnicode:
            current.module.name = text::utf16leToUtf8(body, text::OddByte::Replace);
            break;
        case kModuleStreamName:
            current.mbcsStream = std::string(body);
            break;
        case kModuleStreamNameUnicode:
            current.module.streamName = text::utf16leToUtf8(body, text::OddByte::Replace);
            break;
        case kModuleOffset:
            current.module.textOffset = detail::u32(body, 0, "module text offset");
            current.module.hasTextOffset = true;
            break;
        case kModuleTypeProcedural:
            current.module.kind = ModuleKind::Procedural;
            break;
        case kModuleTypeDocument:
            current.module.kind = ModuleKind::Document;
            break;
        case kModuleTerminator:
            finish();
            break;
        case kDirTerminator:
            terminated = true;
            break;
        default:
            break;  // references, doc strings, help, cookies: not needed
        }
        if (terminated) break;
    }
    finish();
    if (!terminated)
        throw VbaError(VbaErrorKind::Corrupt, "dir stream ends before its terminator record");

    for (auto& m : pending) {
        if (m.module.name.empty()) m.module.name = text::decodeCodePage(m.mbcsName, info.codePage);
        if (m.module.streamName.empty()) m.module.streamName = text::decodeCodePage(m.mbcsStream, info.codePage);
        info.modules.push_back(std::move(m.module));
    }
    return info;
}

}  // namespace ql::vba
