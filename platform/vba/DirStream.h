#pragma once
// The project's module table: the decompressed `dir` stream of a VBA project.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ql::vba {

enum class ModuleKind {
    Procedural,  // a standard module
    Document,    // a class module: standalone classes and form/report modules
};

struct DirModule {
    std::string name;        // UTF-8; the Unicode record when present, else decoded from the code page
    std::string streamName;  // UTF-8 name of the module's stream in the VBA storage
    std::uint32_t textOffset = 0;  // where the compressed source starts in that stream
    ModuleKind kind = ModuleKind::Procedural;
    bool hasTextOffset = false;
};

struct DirInfo {
    std::uint16_t codePage = 0;  // 0 when the project does not say (seen in empty projects)
    std::string projectName;     // raw bytes in codePage
    std::vector<DirModule> modules;
};

// Parses a decompressed `dir` stream. Throws VbaError(Corrupt) when a record
// runs past the end or the stream ends before its terminator.
DirInfo parseDirStream(std::string_view decompressed);

}  // namespace ql::vba
