#include "platform/jet/Header.h"

#include <algorithm>
#include <cstring>

#include "platform/jet/Rc4.h"
#include "platform/jet/TextCodec.h"

namespace ql::jet::detail {

namespace {
constexpr std::size_t kSignatureOffset = 4;
constexpr std::size_t kVersionOffset = 0x14;
constexpr std::size_t kMaskOffset = 0x18;
constexpr std::size_t kCodePageOffset = 0x3C;
constexpr std::size_t kDatabaseKeyOffset = 0x3E;
constexpr std::size_t kPasswordOffset = 0x42;
constexpr std::size_t kCreationDateOffset = 0x72;
constexpr std::size_t kJet4SortVersionOffset = 0x71;
constexpr std::uint8_t kHeaderMaskKey[4] = {0xC7, 0xDA, 0x39, 0x6B};
constexpr std::uint8_t kCompoundFileMagic[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};

bool signatureIs(ByteSpan file, const char* text) {
    const std::size_t len = std::strlen(text);
    return fits(file, kSignatureOffset, len) && std::memcmp(file.data() + kSignatureOffset, text, len) == 0;
}

[[noreturn]] void refuse(ErrorKind kind, const std::string& why) { throw Error(kind, why); }
}  // namespace

ParsedHeader parseHeader(ByteSpan file) {
    if (file.empty()) refuse(ErrorKind::Truncated, "the file is empty");
    if (file.size() >= 8 && std::memcmp(file.data(), kCompoundFileMagic, 8) == 0)
        refuse(ErrorKind::NotJet,
               "an OLE compound file (such as an Access project or another Office document), not a Jet database");
    const bool database = signatureIs(file, "Standard Jet DB");
    const bool workgroup = signatureIs(file, "Jet System DB");
    if (signatureIs(file, "Standard ACE DB"))
        refuse(ErrorKind::Unsupported, "an Access 2007 or later (ACE) database, which this reader does not open");
    if (signatureIs(file, "MSISAM Database"))
        refuse(ErrorKind::Unsupported, "a Microsoft Money (MSISAM) file, not an Access database");
    if (!database && !workgroup) refuse(ErrorKind::NotJet, "no Jet database signature at the start of the file");
    if (file.size() < 4 || file[0] != 0x00 || file[1] != 0x01)
        refuse(ErrorKind::NotJet, "the first page is not a Jet header page");
    if (!fits(file, kVersionOffset, 4)) refuse(ErrorKind::Truncated, "the file ends inside its header");
    const std::uint32_t version = u32(file, kVersionOffset);
    const Format* format = nullptr;
    if (version == 0)
        format = &kJet3;
    else if (version == 1)
        format = &kJet4;
    else
        refuse(ErrorKind::Unsupported, "a Jet-family file of version " + std::to_string(version) +
                                           " (Access 2007 or later), which this reader does not open");
    if (file.size() < format->pageSize)
        refuse(ErrorKind::Truncated, "the file has " + std::to_string(file.size()) +
                                         " bytes, less than its first page of " + std::to_string(format->pageSize));

    ParsedHeader parsed;
    parsed.format = format;
    parsed.page.assign(file.begin(), file.begin() + format->pageSize);
    Rc4(std::span<const std::uint8_t>(kHeaderMaskKey, 4))
        .apply(std::span<std::uint8_t>(parsed.page.data() + kMaskOffset, format->maskedLength));
    const ByteSpan page(parsed.page);

    HeaderInfo& info = parsed.info;
    info.format = format->jet4 ? FileFormat::Jet4 : FileFormat::Jet3;
    info.workgroup = workgroup;
    info.version = version;
    info.pageSize = format->pageSize;
    info.pageCount = static_cast<std::uint32_t>(std::min<std::uint64_t>(file.size() / format->pageSize, UINT32_MAX));
    info.codePage = u16(page, kCodePageOffset);
    info.sortOrder = u16(page, format->sortOrderOffset);
    info.databaseKey = u32(page, kDatabaseKeyOffset);
    const ByteSpan password = sub(page, kPasswordOffset, format->passwordLength, "password");
    if (format->jet4) {
        info.sortVersion = page[kJet4SortVersionOffset];
        const double created = f64(page, kCreationDateOffset);
        info.creationDate = created;
        // The password is masked with the creation date's whole days. A
        // damaged header can hold any double there (NaN, 1e300): its whole
        // days do not fit an int, and the password is then noise anyway.
        const bool daysFit = created > -2147483648.0 && created < 2147483648.0;
        const std::uint32_t mask =
            daysFit ? static_cast<std::uint32_t>(static_cast<std::int32_t>(created)) : 0u;
        std::vector<std::uint8_t> plain(password.begin(), password.end());
        for (std::size_t i = 0; i < plain.size(); ++i) plain[i] ^= static_cast<std::uint8_t>(mask >> (8 * (i % 4)));
        std::size_t units = plain.size() / 2;
        if (std::all_of(password.begin(), password.end(), [](std::uint8_t b) { return b == 0; })) units = 0;
        while (units > 0 && plain[2 * units - 1] == 0 && plain[2 * units - 2] == 0) --units;
        info.passwordSet = units > 0;
        appendUtf16le(info.password, ByteSpan(plain.data(), 2 * units));
    } else {
        std::size_t len = 0;
        while (len < password.size() && password[len] != 0) ++len;
        info.passwordSet = len > 0;
        info.password = TextCodec(false, info.codePage).decodeCodePage(password.first(len));
    }
    return parsed;
}

}  // namespace ql::jet::detail
