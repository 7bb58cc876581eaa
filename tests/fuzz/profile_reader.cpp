// The settings-file reader over any file content. The input is written to a
// scratch file (the reader takes a path), read for a handful of keys, and
// then updated, which walks the line-preserving writer over the same bytes.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "platform/profile/ProfileFile.h"

namespace {

std::filesystem::path scratchFile()
{
    static const std::filesystem::path path = [] {
        std::error_code ec;
        std::filesystem::path dir = std::filesystem::temp_directory_path(ec);
        if (ec)
            dir = ".";
        return dir / ("ql-fuzz-profile-" + std::to_string(::getpid()) + ".ini");
    }();
    return path;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::filesystem::path path = scratchFile();
    {
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    static const char* const kSections[] = {"Options", "options", "", "Recent Files", "[x]"};
    static const char* const kKeys[] = {"Font", "", "File1", "=", "key"};
    for (const char* section : kSections)
        for (const char* key : kKeys) {
            const std::string value = ql::profile::readProfileString(path, section, key, "default");
            if (value.size() >= ql::profile::kProfileBufferSize)
                __builtin_trap();
            (void)ql::profile::readProfileString(path, section, key, "", 1);
        }
    (void)ql::profile::writeProfileString(path, "Options", "Font", "Tahoma");
    const std::string back = ql::profile::readProfileString(path, "Options", "Font", "");
    // Unless the file was too big to be ours, the value just written must
    // read back.
    if (size < ql::profile::kMaxProfileFileSize && back != "Tahoma")
        __builtin_trap();
    std::error_code ec;
    std::filesystem::remove(path, ec);
    return 0;
}
