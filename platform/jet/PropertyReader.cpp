#include "platform/jet/PropertyReader.h"

#include <algorithm>
#include <cstring>

#include "platform/jet/Database.h"
#include "platform/jet/RowDecoder.h"
#include "platform/text/Names.h"

namespace ql::jet {

const Property* PropertyBlock::find(const std::string& wanted) const {
    for (const Property& p : properties)
        if (text::sameName(p.name, wanted)) return &p;
    return nullptr;
}

const PropertyBlock* PropertyBlob::objectBlock() const {
    for (const PropertyBlock& b : blocks)
        if (b.objectLevel) return &b;
    return nullptr;
}

const PropertyBlock* PropertyBlob::block(const std::string& wanted) const {
    for (const PropertyBlock& b : blocks)
        if (!b.objectLevel && text::sameName(b.name, wanted)) return &b;
    return nullptr;
}

}  // namespace ql::jet

namespace ql::jet::detail {

namespace {
constexpr std::size_t kChunkHead = 6;
constexpr std::uint16_t kChunkNames = 0x80;
constexpr std::uint16_t kChunkObject = 0x00;
constexpr std::uint16_t kChunkPart = 0x01;
constexpr std::size_t kEntryHead = 8;

std::string decodeName(const Context& context, ByteSpan bytes) { return context.codec->decodeName(bytes); }
}  // namespace

PropertyBlob parseProperties(const std::shared_ptr<const Context>& context, ByteSpan blob) {
    PropertyBlob result;
    if (blob.empty()) return result;
    if (blob.size() < 4 || (std::memcmp(blob.data(), "KKD\0", 4) != 0 && std::memcmp(blob.data(), "MR2\0", 4) != 0))
        damaged("property blob without its KKD/MR2 signature");
    const bool jet4 = context->format->jet4;
    std::size_t pos = 4;
    while (pos + kChunkHead <= blob.size()) {
        const std::uint32_t chunkLength = u32(blob, pos, "property chunk length");
        const std::uint16_t kind = u16(blob, pos + 4, "property chunk kind");
        if (chunkLength < kChunkHead || chunkLength > blob.size() - pos)
            damaged("property chunk at byte " + std::to_string(pos) + " claims " + std::to_string(chunkLength) +
                    " bytes of a blob of " + std::to_string(blob.size()));
        const ByteSpan body = blob.subspan(pos + kChunkHead, chunkLength - kChunkHead);
        pos += chunkLength;
        if (kind == kChunkNames) {
            std::size_t p = 0;
            while (p + 2 <= body.size()) {
                const std::uint16_t len = u16(body, p);
                result.names.push_back(decodeName(*context, sub(body, p + 2, len, "property name")));
                p += 2 + len;
            }
            continue;
        }
        if (kind != kChunkObject && kind != kChunkPart) continue;  // unknown chunk kinds are skipped whole
        PropertyBlock block;
        block.objectLevel = kind == kChunkObject;
        const std::uint32_t headLength = u32(body, 0, "property block header");
        if (headLength < 4 || headLength > body.size())
            damaged("property block header of " + std::to_string(headLength) + " bytes in a chunk of " +
                    std::to_string(body.size()));
        if (headLength > 6) {
            const std::uint16_t nameLength = u16(body, 4, "property block name");
            block.name = decodeName(*context, sub(body, 6, std::min<std::size_t>(nameLength, headLength - 6),
                                                  "property block name"));
        }
        std::size_t p = headLength;
        while (p + kEntryHead <= body.size()) {
            const std::uint16_t entryLength = u16(body, p);
            if (entryLength < kEntryHead || entryLength > body.size() - p)
                damaged("property entry of " + std::to_string(entryLength) + " bytes overruns its block");
            Property property;
            property.ddl = body[p + 2] != 0;
            property.type = body[p + 3];
            const std::uint16_t nameIndex = u16(body, p + 4);
            const std::uint16_t dataLength = u16(body, p + 6);
            if (nameIndex >= result.names.size())
                damaged("property entry names entry " + std::to_string(nameIndex) + " of a dictionary of " +
                        std::to_string(result.names.size()));
            property.name = result.names[nameIndex];
            const ByteSpan data = sub(body, p + kEntryHead, std::min<std::size_t>(dataLength, entryLength - kEntryHead),
                                      "property value");
            // The stored length is right where the type is not (ProjVer is
            // an Integer of four bytes), so small integers are widened.
            switch (static_cast<ColumnType>(property.type)) {
                case ColumnType::Boolean:
                    property.value = Value(!data.empty() && std::any_of(data.begin(), data.end(), [](auto b) { return b != 0; }));
                    break;
                case ColumnType::Byte:
                case ColumnType::Integer:
                case ColumnType::Long: {
                    std::uint32_t v = 0;
                    for (std::size_t k = 0; k < data.size() && k < 4; ++k) v |= std::uint32_t(data[k]) << (8 * k);
                    if (data.size() == 1 && property.type == 0x02)
                        property.value = Value(static_cast<std::uint8_t>(v));
                    else if (data.size() <= 2 && property.type != 0x04)
                        property.value = Value(static_cast<std::int16_t>(v));
                    else
                        property.value = Value(static_cast<std::int32_t>(v));
                    break;
                }
                case ColumnType::Text:
                case ColumnType::Memo:
                    property.value = Value(jet4 ? context->codec->decodeText(data) : context->codec->decodeCodePage(data));
                    break;
                case ColumnType::Binary:
                case ColumnType::OLE:
                    property.value = Value(Binary(data.begin(), data.end()));
                    break;
                default:
                    try {
                        property.value = decodeScalar(context, property.type, 0, data);
                    } catch (const Error&) {
                        property.value = Value(Binary(data.begin(), data.end()));
                    }
            }
            block.properties.push_back(std::move(property));
            p += entryLength;
        }
        result.blocks.push_back(std::move(block));
    }
    return result;
}

}  // namespace ql::jet::detail
