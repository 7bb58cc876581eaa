#include "tests/platform/vba/TestImages.h"

#include <gsf/gsf-outfile-msole.h>
#include <gsf/gsf-outfile.h>
#include <gsf/gsf-output-memory.h>
#include <gsf/gsf-output.h>
#include <gsf/gsf-utils.h>

#include <stdexcept>

namespace ql::vba::test {

std::string le16(std::uint16_t v) { return {static_cast<char>(v & 0xFF), static_cast<char>(v >> 8)}; }

std::string le32(std::uint32_t v) { return le16(static_cast<std::uint16_t>(v)) + le16(static_cast<std::uint16_t>(v >> 16)); }

std::string utf16(std::string_view ascii) {
    std::string out;
    for (char c : ascii) {
        out.push_back(c);
        out.push_back('\0');
    }
    return out;
}

std::string compressLiterals(std::string_view text) {
    // Eight literals cost nine bytes, so 3640 bytes fill a chunk's 4096.
    constexpr std::size_t kPerChunk = 3640;
    std::string out(1, '\x01');
    for (std::size_t start = 0; start < text.size(); start += kPerChunk) {
        const std::string_view piece = text.substr(start, kPerChunk);
        std::string tokens;
        for (std::size_t i = 0; i < piece.size(); i += 8) {
            tokens.push_back('\0');
            tokens.append(piece.substr(i, 8));
        }
        out += le16(static_cast<std::uint16_t>(0xB000 | (tokens.size() + 2 - 3)));
        out += tokens;
    }
    return out;
}

namespace {

std::string record(std::uint16_t id, std::string_view body) { return le16(id) + le32(static_cast<std::uint32_t>(body.size())) + std::string(body); }

}  // namespace

std::string dirStream(std::uint16_t codePage, const std::vector<DirModuleEntry>& modules, bool terminated) {
    std::string out;
    out += record(0x0001, le32(1));                        // system kind
    out += record(0x0002, le32(0x409));                    // LCID
    out += record(0x0014, le32(0x409));                    // LCID invoke
    out += record(0x0003, le16(codePage));
    out += record(0x0004, "VBAProject");
    out += record(0x0005, "") + record(0x0040, "");        // doc strings
    out += record(0x0006, "") + record(0x003D, "");        // help file
    out += record(0x0007, le32(0));
    out += record(0x0008, le32(0));
    out += le16(0x0009) + le32(4) + le32(0x3A0BC0D6) + le16(6);  // version: 6 bytes, says 4
    out += record(0x000C, "") + record(0x003C, "");
    out += record(0x0016, "stdole") + record(0x003E, utf16("stdole"));
    out += record(0x000F, le16(static_cast<std::uint16_t>(modules.size())));
    out += record(0x0013, le16(0xFFFF));
    for (const auto& m : modules) {
        out += record(0x0019, m.mbcsName.empty() ? m.name : m.mbcsName);
        if (m.unicodeName) out += record(0x0047, utf16(m.name));
        out += record(0x001A, m.streamName) + record(0x0032, utf16(m.streamName));
        out += record(0x001C, "") + record(0x0048, "");
        out += record(0x0031, le32(m.offset));
        out += record(0x001E, le32(0)) + record(0x002C, le16(0xFFFF));
        out += record(m.document ? 0x0022 : 0x0021, "");
        out += record(0x002B, "");
    }
    if (terminated) out += record(0x0010, "");
    return out;
}

ModuleStream moduleStream(std::string_view source, std::string_view compiledPrefix) {
    ModuleStream m;
    m.bytes = std::string(compiledPrefix);
    m.sourceOffset = static_cast<std::uint32_t>(m.bytes.size());
    m.bytes += compressLiterals(source);
    return m;
}

std::string compoundFile(const std::map<std::string, std::string>& streams) {
    gsf_init();
    GsfOutput* memory = gsf_output_memory_new();
    GsfOutfile* root = gsf_outfile_msole_new(memory);
    std::map<std::string, GsfOutfile*> storages{{"", root}};
    std::vector<GsfOutput*> opened;
    auto storageFor = [&](const std::string& path) {
        std::string sofar;
        GsfOutfile* parent = root;
        std::size_t start = 0;
        while (start < path.size()) {
            const std::size_t slash = path.find('/', start);
            const std::string part = path.substr(start, slash - start);
            sofar += "/" + part;
            auto it = storages.find(sofar);
            if (it == storages.end()) {
                GsfOutput* child = gsf_outfile_new_child(parent, part.c_str(), TRUE);
                opened.push_back(child);
                it = storages.emplace(sofar, GSF_OUTFILE(child)).first;
            }
            parent = it->second;
            start = slash == std::string::npos ? path.size() : slash + 1;
        }
        return parent;
    };
    for (const auto& [path, data] : streams) {
        const std::size_t slash = path.rfind('/');
        GsfOutfile* parent = storageFor(slash == std::string::npos ? "" : path.substr(0, slash));
        const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
        GsfOutput* stream = gsf_outfile_new_child(parent, name.c_str(), FALSE);
        gsf_output_write(stream, data.size(), reinterpret_cast<const guint8*>(data.data()));
        gsf_output_close(stream);
        g_object_unref(stream);
    }
    for (auto it = opened.rbegin(); it != opened.rend(); ++it) {
        gsf_output_close(*it);
        g_object_unref(*it);
    }
    gsf_output_close(GSF_OUTPUT(root));
    g_object_unref(root);
    const auto* bytes = gsf_output_memory_get_bytes(GSF_OUTPUT_MEMORY(memory));
    std::string image(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(gsf_output_size(memory)));
    g_object_unref(memory);
    return image;
}

std::string modules2Blob(const std::vector<std::pair<std::string, std::string>>& records) {
    std::string out = std::string("\x69\x12\x04\x00", 4) + le32(1);
    for (const auto& [name, data] : records) {
        const std::string encoded = utf16(name) + std::string(2, '\0');
        out.push_back(static_cast<char>(encoded.size()));
        out += encoded + le32(static_cast<std::uint32_t>(data.size())) + data;
    }
    return out;
}

}  // namespace ql::vba::test
