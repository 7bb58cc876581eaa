#include "platform/jet/Value.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <unordered_set>

#include "platform/jet/Context.h"
#include "platform/jet/DataPage.h"

namespace ql::jet {

using detail::ByteSpan;

const char* typeName(std::uint8_t code) {
    switch (static_cast<ColumnType>(code)) {
        case ColumnType::Boolean: return "Boolean";
        case ColumnType::Byte: return "Byte";
        case ColumnType::Integer: return "Integer";
        case ColumnType::Long: return "Long";
        case ColumnType::Currency: return "Currency";
        case ColumnType::Single: return "Single";
        case ColumnType::Double: return "Double";
        case ColumnType::DateTime: return "DateTime";
        case ColumnType::Binary: return "Binary";
        case ColumnType::Text: return "Text";
        case ColumnType::OLE: return "OLE";
        case ColumnType::Memo: return "Memo";
        case ColumnType::Guid: return "GUID";
        case ColumnType::Decimal: return "Decimal";
        case ColumnType::FixedBinary: return "FixedBinary";
    }
    return "Unknown";
}

namespace {
std::string u128ToString(unsigned __int128 v) {
    if (v == 0) return "0";
    std::string digits;
    while (v) {
        digits.insert(digits.begin(), static_cast<char>('0' + static_cast<int>(v % 10)));
        v /= 10;
    }
    return digits;
}

std::string withPoint(std::string digits, unsigned scale, bool negative, bool trimZeros) {
    if (scale) {
        if (digits.size() <= scale) digits.insert(0, scale + 1 - digits.size(), '0');
        digits.insert(digits.size() - scale, ".");
        if (trimZeros) {
            while (digits.back() == '0') digits.pop_back();
            if (digits.back() == '.') digits.pop_back();
        }
    }
    if (negative && digits.find_first_not_of("0.") != std::string::npos) digits.insert(0, "-");
    return digits;
}

constexpr long long kUnixDaysOf18991230 = -25569;
constexpr std::size_t kChainReserve = 64u * 1024;
}  // namespace

std::string Currency::toString() const {
    const bool negative = tenThousandths < 0;
    const unsigned __int128 mag = negative ? static_cast<unsigned __int128>(-(static_cast<__int128>(tenThousandths)))
                                           : static_cast<unsigned __int128>(tenThousandths);
    return withPoint(u128ToString(mag), 4, negative, true);
}

std::string Decimal::toString() const { return withPoint(u128ToString(magnitude), scale, negative, false); }

DateTime::Parts DateTime::parts() const {
    if (!std::isfinite(days)) return {1899, 12, 30, 0, 0, 0};
    const double clamped = std::fmax(-1e7, std::fmin(1e7, days));
    long long date = static_cast<long long>(std::trunc(clamped));
    long long seconds = std::llround(std::fabs(clamped - std::trunc(clamped)) * 86400.0);
    if (seconds >= 86400) {
        seconds -= 86400;
        ++date;
    }
    Parts p{};
    // The clamp above keeps the date well inside the calendar's years.
    const std::chrono::year_month_day civil{std::chrono::sys_days{std::chrono::days{date + kUnixDaysOf18991230}}};
    p.year = static_cast<int>(civil.year());
    p.month = static_cast<int>(static_cast<unsigned>(civil.month()));
    p.day = static_cast<int>(static_cast<unsigned>(civil.day()));
    p.hour = static_cast<int>(seconds / 3600);
    p.minute = static_cast<int>(seconds / 60 % 60);
    p.second = static_cast<int>(seconds % 60);
    return p;
}

std::string DateTime::toIso() const {
    const Parts p = parts();
    char text[48];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", p.year, p.month, p.day, p.hour, p.minute,
                  p.second);
    return text;
}

std::string Guid::toString() const {
    const std::uint8_t* b = bytes;
    char text[40];
    std::snprintf(text, sizeof text, "{%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X}", b[3],
                  b[2], b[1], b[0], b[5], b[4], b[7], b[6], b[8], b[9], b[10], b[11], b[12], b[13], b[14], b[15]);
    return text;
}

LongValue::LongValue(std::shared_ptr<const detail::Context> context, const std::uint8_t* header, std::size_t length,
                     bool memo)
    : context_(std::move(context)), memo_(memo) {
    const ByteSpan b(header, length);
    const std::uint32_t word = detail::u32(b, 0);
    length_ = word & 0x3FFFFFFF;
    kind_ = static_cast<std::uint8_t>(word >> 30);
    pointer_ = detail::u32(b, 4);
    if (kind_ == 2) {
        const std::size_t available = length - 12;
        if (length_ > available) length_ = static_cast<std::uint32_t>(available);
        inline_.assign(header + 12, header + 12 + length_);
    }
}

bool LongValue::operator==(const LongValue& other) const {
    return length_ == other.length_ && kind_ == other.kind_ && pointer_ == other.pointer_ && inline_ == other.inline_;
}

Binary LongValue::bytes(std::size_t cap) const {
    if (length_ > cap)
        throw Error(ErrorKind::TooLarge, "a long value of " + std::to_string(length_) + " bytes exceeds the cap of " +
                                             std::to_string(cap) + " bytes");
    if (kind_ == 2 || length_ == 0) return inline_;
    if (!context_) detail::damaged("a long value without its database");
    detail::Page holder;
    Binary out;
    if (kind_ == 1) {
        const ByteSpan row = detail::rowByPointer(*context_, pointer_, &holder, "long value");
        if (row.size() < length_)
            detail::damaged("long value row at page " + std::to_string(pointer_ >> 8) + " holds " +
                            std::to_string(row.size()) + " of its " + std::to_string(length_) + " bytes");
        out.assign(row.begin(), row.begin() + length_);
        return out;
    }
    if (kind_ != 0) detail::damaged("a long value of unknown kind " + std::to_string(kind_));
    // Reserve no more than a few pages ahead: the stored length is only a
    // claim until the chain has delivered the bytes.
    out.reserve(std::min<std::size_t>(length_, kChainReserve));
    std::uint32_t pointer = pointer_;
    // A row met twice means the chain loops: reading on would only repeat
    // bytes until the length is reached, so the loop is reported where it
    // closes. Rows without data cannot make the walk endless either.
    std::unordered_set<std::uint32_t> visited;
    while (out.size() < length_) {
        if (pointer == 0)
            detail::damaged("long value chain ends after " + std::to_string(out.size()) + " of its " +
                            std::to_string(length_) + " bytes");
        if (!visited.insert(pointer).second)
            detail::damaged("long value chain loops back to page " + std::to_string(pointer >> 8) + " row " +
                            std::to_string(pointer & 0xFF) + " after " + std::to_string(out.size()) + " of its " +
                            std::to_string(length_) + " bytes");
        const ByteSpan row = detail::rowByPointer(*context_, pointer, &holder, "long value chain");
        if (row.size() < 4) detail::damaged("long value chain row shorter than its link");
        pointer = detail::u32(row, 0);
        const std::size_t take = std::min<std::size_t>(row.size() - 4, length_ - out.size());
        out.insert(out.end(), row.begin() + 4, row.begin() + 4 + take);
    }
    return out;
}

std::string LongValue::text(std::size_t cap) const {
    const Binary data = bytes(cap);
    if (!context_) {
        std::string out;
        detail::appendUtf16le(out, ByteSpan(data));
        return out;
    }
    return context_->codec->decodeText(ByteSpan(data));
}

std::string Value::toDebugString() const {
    struct Visitor {
        std::string operator()(const Null&) const { return {}; }
        std::string operator()(bool v) const { return v ? "True" : "False"; }
        std::string operator()(std::uint8_t v) const { return std::to_string(v); }
        std::string operator()(std::int16_t v) const { return std::to_string(v); }
        std::string operator()(std::int32_t v) const { return std::to_string(v); }
        std::string operator()(const Currency& v) const { return v.toString(); }
        std::string operator()(float v) const {
            char t[32];
            std::snprintf(t, sizeof t, "%.8g", static_cast<double>(v));
            return t;
        }
        std::string operator()(double v) const {
            char t[32];
            std::snprintf(t, sizeof t, "%.16g", v);
            return t;
        }
        std::string operator()(const DateTime& v) const { return v.toIso(); }
        std::string operator()(const Binary& v) const {
            static const char* hex = "0123456789ABCDEF";
            std::string out;
            for (std::uint8_t b : v) {
                out.push_back(hex[b >> 4]);
                out.push_back(hex[b & 15]);
            }
            return out;
        }
        std::string operator()(const std::string& v) const { return v; }
        std::string operator()(const LongValue& v) const {
            if (v.isMemo()) return v.text();
            return "<" + std::to_string(v.length()) + " bytes>";
        }
        std::string operator()(const Guid& v) const { return v.toString(); }
        std::string operator()(const Decimal& v) const { return v.toString(); }
    };
    return std::visit(Visitor{}, data_);
}

}  // namespace ql::jet
