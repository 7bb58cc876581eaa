// The VBA compression container and the dir stream it usually holds: any
// bytes must give text or a VbaError, with the output held to the cap.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/vba/Decompressor.h"
#include "platform/vba/DirStream.h"
#include "platform/vba/VbaError.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    // A small cap so that the cap itself is reached often.
    constexpr std::size_t kCap = 1u << 20;
    try {
        const std::string text = ql::vba::decompressContainer(input, 0, kCap);
        if (text.size() > kCap)
            __builtin_trap();
        (void)ql::vba::parseDirStream(text);
    } catch (const ql::vba::VbaError&) {
    }
    try {
        // The raw input as an already decompressed dir stream.
        (void)ql::vba::parseDirStream(input);
    } catch (const ql::vba::VbaError&) {
    }
    try {
        if (const auto start = ql::vba::findSourceContainer(input)) {
            if (*start > size)
                __builtin_trap();
            (void)ql::vba::decompressContainer(input, *start, kCap);
        }
    } catch (const ql::vba::VbaError&) {
    }
    return 0;
}
