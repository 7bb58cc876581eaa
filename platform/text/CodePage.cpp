#include "platform/text/CodePage.h"

#include <cerrno>
#include <iconv.h>
#include <map>
#include <mutex>
#include <vector>

#include "platform/text/Unicode.h"

namespace ql::text {

namespace {

const iconv_t kNoConverter = reinterpret_cast<iconv_t>(-1);

std::string iconvName(int codePage) { return codePage == 65001 ? "UTF-8" : "CP" + std::to_string(codePage); }

// Last resort when the C library has no converters installed at all.
void appendLatin1(std::string& out, unsigned char byte) { appendUtf8(out, byte); }

}  // namespace

// Single-byte code pages become a table of 256 UTF-8 sequences, so decoding
// is a lookup per byte. Multi-byte ones (the East Asian code pages, UTF-8)
// keep an iconv converter, which holds state between calls and is locked.
struct CodePageDecoder::Tables {
    int codePage = kFallbackCodePage;
    bool singleByte = true;
    std::string utf8[256];
    iconv_t converter = kNoConverter;
    mutable std::mutex mutex;

    ~Tables() {
        if (converter != kNoConverter) iconv_close(converter);
    }

    std::string decodeMultiByte(std::string_view bytes) const {
        const std::lock_guard<std::mutex> lock(mutex);
        iconv(converter, nullptr, nullptr, nullptr, nullptr);
        std::string out;
        out.reserve(bytes.size() * 3 / 2 + 4);
        char* in = const_cast<char*>(bytes.data());
        std::size_t inLeft = bytes.size();
        std::vector<char> buffer(bytes.size() * 4 + 8);
        while (inLeft > 0) {
            char* outp = buffer.data();
            std::size_t outLeft = buffer.size();
            const std::size_t rc = iconv(converter, &in, &inLeft, &outp, &outLeft);
            out.append(buffer.data(), outp);
            if (rc != static_cast<std::size_t>(-1)) break;
            if (errno == E2BIG) continue;
            // An invalid or cut-short sequence: replace one byte and go on.
            out += kReplacementUtf8;
            ++in;
            --inLeft;
            iconv(converter, nullptr, nullptr, nullptr, nullptr);
        }
        return out;
    }
};

namespace {

// Fills the table from a converter, byte by byte; false when some byte only
// starts a sequence, i.e. the code page is not a single-byte one.
bool fillSingleByteTable(CodePageDecoder::Tables& t, iconv_t converter) {
    for (int b = 0; b < 256; ++b) {
        char in = static_cast<char>(b);
        char out[8];
        char* inp = &in;
        char* outp = out;
        std::size_t inLeft = 1, outLeft = sizeof out;
        iconv(converter, nullptr, nullptr, nullptr, nullptr);
        if (iconv(converter, &inp, &inLeft, &outp, &outLeft) != static_cast<std::size_t>(-1)) {
            t.utf8[b].assign(out, outp);
        } else {
            if (errno == EINVAL) return false;
            t.utf8[b] = b < 0x80 ? std::string(1, static_cast<char>(b)) : std::string(kReplacementUtf8);
        }
    }
    return true;
}

std::shared_ptr<CodePageDecoder::Tables> buildTables(int codePage) {
    auto t = std::make_shared<CodePageDecoder::Tables>();
    iconv_t converter = codePage > 0 ? iconv_open("UTF-8", iconvName(codePage).c_str()) : kNoConverter;
    if (converter == kNoConverter) {
        codePage = kFallbackCodePage;
        converter = iconv_open("UTF-8", iconvName(codePage).c_str());
    }
    t->codePage = codePage;
    if (converter == kNoConverter) {
        for (int b = 0; b < 256; ++b) appendLatin1(t->utf8[b], static_cast<unsigned char>(b));
        return t;
    }
    if (fillSingleByteTable(*t, converter)) {
        iconv_close(converter);
    } else {
        t->singleByte = false;
        t->converter = converter;
    }
    return t;
}

std::shared_ptr<const CodePageDecoder::Tables> sharedTables(int codePage) {
    static std::mutex mutex;
    static std::map<int, std::shared_ptr<const CodePageDecoder::Tables>> tables;
    const std::lock_guard<std::mutex> lock(mutex);
    auto it = tables.find(codePage);
    if (it == tables.end()) it = tables.emplace(codePage, buildTables(codePage)).first;
    return it->second;
}

}  // namespace

CodePageDecoder::CodePageDecoder(int codePage) : tables_(sharedTables(codePage)) {}

int CodePageDecoder::codePage() const { return tables_->codePage; }

std::string CodePageDecoder::decode(std::string_view bytes) const {
    if (!tables_->singleByte) return tables_->decodeMultiByte(bytes);
    std::string out;
    out.reserve(bytes.size());
    for (const char c : bytes) {
        const auto b = static_cast<unsigned char>(c);
        if (b < 0x80)
            out.push_back(c);
        else
            out += tables_->utf8[b];
    }
    return out;
}

bool codePageSupported(int codePage) { return codePage > 0 && CodePageDecoder(codePage).codePage() == codePage; }

std::string decodeCodePage(std::string_view bytes, int codePage) { return CodePageDecoder(codePage).decode(bytes); }

}  // namespace ql::text
