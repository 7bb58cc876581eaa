#pragma once
// Small inputs built in memory for the unit tests: compressed containers,
// `dir` streams, compound files and MSysModules2 blobs.
#include "platform/vba/DirStream.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace ql::vba::test {

std::string le16(std::uint16_t v);
std::string le32(std::uint32_t v);
std::string utf16(std::string_view ascii);  // ASCII to UTF-16LE

// A valid container holding text, using literal tokens only.
std::string compressLiterals(std::string_view text);

struct DirModuleEntry {
    std::string name;          // ASCII
    std::string streamName;    // ASCII
    std::uint32_t offset = 0;
    bool document = false;
    bool unicodeName = true;   // false: only the code-page name record
    std::string mbcsName{};    // the code-page name when it differs from name
};

// A decompressed `dir` stream with the records Access writes around modules.
std::string dirStream(std::uint16_t codePage, const std::vector<DirModuleEntry>& modules, bool terminated = true);

// A module stream: a compiled-code prefix, then the source container.
struct ModuleStream {
    std::string bytes;
    std::uint32_t sourceOffset = 0;
};
ModuleStream moduleStream(std::string_view source, std::string_view compiledPrefix = "\x01\x02\x03 compiled");

// A compound file written by libgsf; streams by path ("VBA/VBAProject/VBA/dir").
std::string compoundFile(const std::map<std::string, std::string>& streams);

// An MSysModules2 `Module` blob.
std::string modules2Blob(const std::vector<std::pair<std::string, std::string>>& records);

}  // namespace ql::vba::test
