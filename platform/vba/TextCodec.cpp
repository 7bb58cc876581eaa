#include "platform/vba/TextCodec.h"

#include <cerrno>
#include <iconv.h>
#include <map>
#include <memory>

namespace ql::vba {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

std::string iconvName(int codePage) {
    if (codePage == 65001) return "UTF-8";
    return "CP" + std::to_string(codePage);
}

struct IconvCloser {
    void operator()(void* cd) const { iconv_close(static_cast<iconv_t>(cd)); }
};
using IconvHandle = std::unique_ptr<void, IconvCloser>;

IconvHandle openDecoder(const std::string& from) {
    iconv_t cd = iconv_open("UTF-8", from.c_str());
    if (cd == reinterpret_cast<iconv_t>(-1)) return nullptr;
    return IconvHandle(cd);
}

// iconv_open loads a code page's conversion module and iconv_close unloads
// it again; a module scan converts thousands of lines, so each thread keeps
// the decoders it has opened (nothing when iconv does not know the name).
void* cachedDecoder(const std::string& from) {
    thread_local std::map<std::string, IconvHandle> decoders;
    auto it = decoders.find(from);
    if (it == decoders.end()) it = decoders.emplace(from, openDecoder(from)).first;
    return it->second.get();
}

// Converts with iconv, replacing each byte it rejects (and a cut-short
// sequence at the end) by U+FFFD and carrying on after it.
std::string convert(iconv_t cd, std::string_view bytes, std::size_t skipOnError) {
    iconv(cd, nullptr, nullptr, nullptr, nullptr);  // a kept decoder starts afresh
    std::string out;
    out.reserve(bytes.size() * 3 / 2 + 4);
    char buffer[4096];
    char* in = const_cast<char*>(bytes.data());
    std::size_t inLeft = bytes.size();
    while (inLeft > 0) {
        char* outPtr = buffer;
        std::size_t outLeft = sizeof buffer;
        const std::size_t rc = iconv(cd, &in, &inLeft, &outPtr, &outLeft);
        out.append(buffer, static_cast<std::size_t>(outPtr - buffer));
        if (rc != static_cast<std::size_t>(-1)) break;
        if (errno == E2BIG) continue;
        // EILSEQ or EINVAL: skip the offending unit and reset the shift state.
        out.append(kReplacement);
        const std::size_t skip = std::min(skipOnError, inLeft);
        in += skip;
        inLeft -= skip;
        iconv(cd, nullptr, nullptr, nullptr, nullptr);
    }
    return out;
}

// Last resort when the C library has no converters installed at all.
std::string latin1(std::string_view bytes) {
    std::string out;
    for (unsigned char c : bytes) {
        if (c < 0x80) {
            out.push_back(static_cast<char>(c));
        } else {
            out.push_back(static_cast<char>(0xC0 | (c >> 6)));
            out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        }
    }
    return out;
}

}  // namespace

bool codePageSupported(int codePage) {
    return codePage > 0 && cachedDecoder(iconvName(codePage)) != nullptr;
}

std::string decodeCodePage(std::string_view bytes, int codePage) {
    void* cd = codePage > 0 ? cachedDecoder(iconvName(codePage)) : nullptr;
    if (!cd) cd = cachedDecoder(iconvName(kFallbackCodePage));
    if (!cd) return latin1(bytes);
    return convert(static_cast<iconv_t>(cd), bytes, 1);
}

std::string utf16leToUtf8(std::string_view bytes) {
    void* cd = cachedDecoder("UTF-16LE");
    if (!cd) return std::string(kReplacement);
    return convert(static_cast<iconv_t>(cd), bytes, 2);
}

bool hasReplacementCharacter(std::string_view utf8) {
    return utf8.find(kReplacement) != std::string_view::npos;
}

}  // namespace ql::vba
