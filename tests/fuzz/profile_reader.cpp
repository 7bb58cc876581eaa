// The settings-file reader over any file content. The input is written to a
// scratch file (the reader takes a path), read for a handful of keys, and
// then updated, which walks the line-preserving writer over the same bytes.
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/profile/ProfileFile.h"
#include "tests/fuzz/ScratchFiles.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string path = ql::fuzz::writeScratch("settings.ini", data, size);
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
    return 0;
}
