#include "platform/jet/TextCodec.h"

#include <cerrno>
#include <iconv.h>
#include <map>
#include <mutex>
#include <vector>

namespace ql::jet::detail {

namespace {
constexpr char32_t kReplacement = 0xFFFD;

bool isMultiByteCodePage(std::uint16_t cp) { return cp == 932 || cp == 936 || cp == 949 || cp == 950; }
}  // namespace

void appendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (c >> 6)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else if (c < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (c >> 12)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (c >> 18)));
        out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
}

void appendUtf16le(std::string& out, ByteSpan bytes) {
    const std::size_t units = bytes.size() / 2;
    for (std::size_t i = 0; i < units; ++i) {
        char32_t u = bytes[2 * i] | (bytes[2 * i + 1] << 8);
        if (u < 0x80) {
            out.push_back(static_cast<char>(u));
            continue;
        }
        if (u >= 0xD800 && u <= 0xDBFF && i + 1 < units) {
            char32_t low = bytes[2 * i + 2] | (bytes[2 * i + 3] << 8);
            if (low >= 0xDC00 && low <= 0xDFFF) {
                appendUtf8(out, 0x10000 + ((u - 0xD800) << 10) + (low - 0xDC00));
                ++i;
                continue;
            }
        }
        appendUtf8(out, (u >= 0xD800 && u <= 0xDFFF) ? kReplacement : u);
    }
}

struct TextCodec::Iconv {
    iconv_t handle = reinterpret_cast<iconv_t>(-1);
    std::mutex mutex;  // a converter keeps state between calls; one open file may serve several threads
    ~Iconv() {
        if (handle != reinterpret_cast<iconv_t>(-1)) iconv_close(handle);
    }
};

namespace {

struct SingleByteTable {
    std::uint16_t codePage = 1252;  // 1252 when iconv does not know the one asked for
    std::string utf8[256];
};

SingleByteTable buildSingleByteTable(std::uint16_t codePage) {
    SingleByteTable t;
    t.codePage = codePage;
    iconv_t handle = iconv_open("UTF-8", ("CP" + std::to_string(codePage)).c_str());
    if (handle == reinterpret_cast<iconv_t>(-1)) {
        // A code page iconv does not know: read the text as Windows Latin 1,
        // the code page of almost every file, rather than refuse it.
        t.codePage = 1252;
        handle = iconv_open("UTF-8", "CP1252");
    }
    for (int b = 0; b < 256; ++b) {
        char in = static_cast<char>(b);
        char out[8];
        char* inp = &in;
        char* outp = out;
        std::size_t inLeft = 1, outLeft = sizeof out;
        if (handle != reinterpret_cast<iconv_t>(-1)) iconv(handle, nullptr, nullptr, nullptr, nullptr);
        if (handle != reinterpret_cast<iconv_t>(-1) &&
            iconv(handle, &inp, &inLeft, &outp, &outLeft) != static_cast<std::size_t>(-1))
            t.utf8[b].assign(out, outp);
        else if (b < 0x80)
            t.utf8[b] = std::string(1, static_cast<char>(b));
        else
            appendUtf8(t.utf8[b], kReplacement);
    }
    if (handle != reinterpret_cast<iconv_t>(-1)) iconv_close(handle);
    return t;
}

// Built once per code page for the whole process: iconv_open loads the code
// page's conversion module and iconv_close unloads it again, and a run that
// opens many databases (each opened again by the module reader) spent more
// time loading and unloading it than reading rows.
const SingleByteTable& singleByteTable(std::uint16_t codePage) {
    static std::mutex mutex;
    static std::map<std::uint16_t, SingleByteTable> tables;
    std::lock_guard<std::mutex> lock(mutex);
    auto it = tables.find(codePage);
    if (it == tables.end()) it = tables.emplace(codePage, buildSingleByteTable(codePage)).first;
    return it->second;  // map nodes stay put, so the reference outlives the lock
}

}  // namespace

TextCodec::TextCodec(bool jet4, std::uint16_t codePage) : jet4_(jet4), codePage_(codePage ? codePage : 1252) {
    if (isMultiByteCodePage(codePage_)) {
        iconv_t handle = iconv_open("UTF-8", ("CP" + std::to_string(codePage_)).c_str());
        if (handle != reinterpret_cast<iconv_t>(-1)) {
            iconv_ = std::make_unique<Iconv>();
            iconv_->handle = handle;
            return;
        }
        codePage_ = 1252;
    }
    const SingleByteTable& t = singleByteTable(codePage_);
    codePage_ = t.codePage;
    singleByte_ = true;
    for (int b = 0; b < 256; ++b) table_[b] = t.utf8[b];
}

TextCodec::~TextCodec() = default;

std::string TextCodec::decodeCodePage(ByteSpan bytes) const {
    std::string out;
    out.reserve(bytes.size());
    if (singleByte_) {
        for (std::uint8_t b : bytes) {
            if (b < 0x80)
                out.push_back(static_cast<char>(b));
            else
                out += table_[b];
        }
        return out;
    }
    const std::lock_guard<std::mutex> lock(iconv_->mutex);
    iconv_t h = iconv_->handle;
    iconv(h, nullptr, nullptr, nullptr, nullptr);
    char* in = const_cast<char*>(reinterpret_cast<const char*>(bytes.data()));
    std::size_t inLeft = bytes.size();
    std::vector<char> buffer(bytes.size() * 4 + 8);
    while (inLeft > 0) {
        char* outp = buffer.data();
        std::size_t outLeft = buffer.size();
        std::size_t r = iconv(h, &in, &inLeft, &outp, &outLeft);
        out.append(buffer.data(), outp);
        if (r == static_cast<std::size_t>(-1)) {
            if (errno == E2BIG) continue;
            // An invalid or incomplete sequence: replace one byte and go on.
            appendUtf8(out, kReplacement);
            ++in;
            --inLeft;
            iconv(h, nullptr, nullptr, nullptr, nullptr);
        }
    }
    return out;
}

std::string TextCodec::decodeText(ByteSpan bytes) const {
    if (!jet4_) return decodeCodePage(bytes);
    if (bytes.size() >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE) {
        // Compressed: runs separated by 00 bytes, alternating between one
        // byte per character (U+0000..U+00FF) and plain UCS-2. Access starts
        // an uncompressed run only for characters with no 00 byte, so the
        // separator is found by scanning bytes.
        std::string out;
        out.reserve(bytes.size());
        bool compressed = true;
        std::size_t runStart = 2;
        for (std::size_t i = 2; i <= bytes.size(); ++i) {
            if (i < bytes.size() && bytes[i] != 0) continue;
            ByteSpan run = bytes.subspan(runStart, i - runStart);
            if (compressed)
                for (std::uint8_t b : run) appendUtf8(out, b);
            else
                appendUtf16le(out, run);
            compressed = !compressed;
            runStart = i + 1;
        }
        return out;
    }
    std::string out;
    out.reserve(bytes.size() / 2);
    appendUtf16le(out, bytes);
    return out;
}

std::string TextCodec::decodeName(ByteSpan bytes) const {
    if (!jet4_) return decodeCodePage(bytes);
    std::string out;
    appendUtf16le(out, bytes);
    return out;
}

}  // namespace ql::jet::detail
