#include "tools/jetwriter/RowEncoder.h"

#include <cmath>
#include <stdexcept>

namespace ql::jetwriter {

Bytes encodeText(const std::string& utf8, bool compress)
{
    const std::u16string u = utf8ToUtf16(utf8);
    Bytes out;
    bool narrow = compress;
    for (char16_t c : u)
        if (c == 0 || c > 0xFF) narrow = false;
    if (narrow) {
        out.reserve(u.size() + 2);
        put8(out, 0xFF);
        put8(out, 0xFE);
        for (char16_t c : u) put8(out, static_cast<std::uint8_t>(c));
    } else {
        out.reserve(u.size() * 2);
        for (char16_t c : u) put16(out, c);
    }
    return out;
}

Bytes encodeGuid(const std::string& text)
{
    std::string hex;
    for (char c : text)
        if (c != '{' && c != '}' && c != '-') hex.push_back(c);
    if (hex.size() != 32) throw std::invalid_argument("GUID must have 32 hex digits: " + text);
    std::uint8_t raw[16];
    for (int i = 0; i < 16; ++i) {
        auto nib = [&](char c) -> int {
            if (c >= '0' && c <= '9') return c - '0';
            if (c >= 'a' && c <= 'f') return c - 'a' + 10;
            if (c >= 'A' && c <= 'F') return c - 'A' + 10;
            throw std::invalid_argument("GUID has a non-hex digit: " + text);
        };
        raw[i] = static_cast<std::uint8_t>(nib(hex[2 * i]) << 4 | nib(hex[2 * i + 1]));
    }
    // The first three fields are stored little-endian, the last eight bytes as written.
    const int order[16] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
    Bytes out(16);
    for (int i = 0; i < 16; ++i) out[i] = raw[order[i]];
    return out;
}

std::uint32_t LongValueWriter::addRow(const std::uint8_t* data, std::size_t len)
{
    if (open_ && !page_.fits(len)) flush();
    if (!open_) {
        pageNo_ = file_.allocate();
        pages_.add(pageNo_);
        open_ = true;
    }
    const std::uint8_t row = page_.add(data, len);
    return pageNo_ << 8 | row;
}

void LongValueWriter::flush()
{
    if (!open_) return;
    file_.write(pageNo_, page_.image().data(), kPageSize);
    page_.reset();
    open_ = false;
}

void LongValueWriter::encode(const std::uint8_t* data, std::size_t len, Bytes& row)
{
    if (len > 0x3FFFFFFFu) throw std::invalid_argument("long value too large");
    const auto length = static_cast<std::uint32_t>(len);
    if (len <= policy_.inlineMax) {
        put32(row, length | 0x80000000u);
        put32(row, 0);
        put32(row, 0);
        putBytes(row, data, len);
        return;
    }
    if (len <= policy_.singleMax) {
        const std::uint32_t ptr = addRow(data, len);
        put32(row, length | 0x40000000u);
        put32(row, ptr);
        put32(row, 0);
        return;
    }
    // A chain: each row is {next pointer, data}. The last piece goes first, onto the shared LVAL
    // page, so that every earlier piece knows its successor when it is written; the full pieces
    // then take whole pages of their own, which leaves the chain in descending page order, as
    // Access's own chains often are.
    const std::size_t piece = kMaxRowSize - 4;
    const std::size_t pieces = (len + piece - 1) / piece;
    const std::size_t lastLen = len - (pieces - 1) * piece;
    Bytes buf;
    buf.reserve(piece + 4);
    put32(buf, 0);
    putBytes(buf, data + (pieces - 1) * piece, lastLen);
    std::uint32_t next = addRow(buf.data(), buf.size());
    for (std::size_t k = pieces - 1; k-- > 0;) {
        buf.clear();
        put32(buf, next);
        putBytes(buf, data + k * piece, piece);
        RowPage own(kLvalOwner);
        own.add(buf.data(), buf.size());
        const std::uint32_t at = file_.allocate();
        pages_.add(at);
        file_.write(at, own.image().data(), kPageSize);
        next = at << 8;
    }
    put32(row, length);
    put32(row, next);
    put32(row, 0);
}

namespace {

void putFixed(std::uint8_t* at, const ColumnLayout& c, const Value& v)
{
    auto needInt = [&] {
        if (v.kind == Value::Kind::Integer) return v.integer;
        if (v.kind == Value::Kind::Real) return static_cast<std::int64_t>(std::llround(v.real));
        throw std::invalid_argument("column " + c.def.name + " needs a number");
    };
    auto needReal = [&] {
        if (v.kind == Value::Kind::Real) return v.real;
        if (v.kind == Value::Kind::Integer) return static_cast<double>(v.integer);
        throw std::invalid_argument("column " + c.def.name + " needs a number");
    };
    auto range = [&](std::int64_t x, std::int64_t lo, std::int64_t hi) {
        if (x < lo || x > hi) throw std::invalid_argument("value out of range for column " + c.def.name);
        return x;
    };
    switch (c.def.type) {
    case ColumnType::Byte: at[0] = static_cast<std::uint8_t>(range(needInt(), 0, 255)); break;
    case ColumnType::Integer: set16(at, static_cast<std::uint16_t>(range(needInt(), -32768, 32767))); break;
    case ColumnType::Long:
        set32(at, static_cast<std::uint32_t>(range(needInt(), INT32_MIN, INT32_MAX)));
        break;
    case ColumnType::Currency: {
        const auto x = static_cast<std::uint64_t>(needInt());
        for (int i = 0; i < 8; ++i) at[i] = static_cast<std::uint8_t>(x >> (8 * i));
        break;
    }
    case ColumnType::Single: {
        const float f = static_cast<float>(needReal());
        std::uint32_t u;
        std::memcpy(&u, &f, 4);
        set32(at, u);
        break;
    }
    case ColumnType::Double:
    case ColumnType::DateTime: {
        const double d = needReal();
        std::uint64_t u;
        std::memcpy(&u, &d, 8);
        for (int i = 0; i < 8; ++i) at[i] = static_cast<std::uint8_t>(u >> (8 * i));
        break;
    }
    case ColumnType::Guid: {
        if (v.kind != Value::Kind::Text) throw std::invalid_argument("column " + c.def.name + " needs GUID text");
        const Bytes g = encodeGuid(v.text);
        std::memcpy(at, g.data(), 16);
        break;
    }
    case ColumnType::Decimal: {
        const std::int64_t x = needInt();
        const std::uint64_t mag = x < 0 ? 0 - static_cast<std::uint64_t>(x) : static_cast<std::uint64_t>(x);
        // Four u32 groups, the most significant first, each little-endian; ours fill the low two.
        at[0] = x < 0 ? 0x80 : 0x00;
        set32(at + 1, 0);
        set32(at + 5, 0);
        set32(at + 9, static_cast<std::uint32_t>(mag >> 32));
        set32(at + 13, static_cast<std::uint32_t>(mag));
        break;
    }
    case ColumnType::AccessObjectData: {
        if (v.kind != Value::Kind::Text || v.text.size() > 3992)
            throw std::invalid_argument("column " + c.def.name + " needs at most 3992 bytes");
        std::memcpy(at, v.text.data(), v.text.size());
        break;
    }
    default: throw std::logic_error("not a fixed column type");
    }
}

} // namespace

void RowEncoder::encode(const Row& row, Bytes& out)
{
    const auto ncols = layout_.columns.size();
    if (row.size() != ncols) throw std::invalid_argument("row has the wrong number of values");
    const std::size_t maskBytes = (ncols + 7) / 8;
    out.clear();
    put16(out, static_cast<std::uint16_t>(ncols));
    out.resize(2 + layout_.fixedSize, 0);
    Bytes mask(maskBytes, 0);
    std::vector<std::uint16_t> varStart(layout_.varCount + 1, 0);
    auto present = [&](const ColumnLayout& c) { mask[c.number / 8] |= static_cast<std::uint8_t>(1u << (c.number % 8)); };

    // Fixed columns first: their area has a set size, so the variable area can follow it.
    for (const ColumnLayout& c : layout_.columns) {
        const Value& v = row[c.number];
        if (c.def.type == ColumnType::Boolean) {
            if (!v.isNull() && (v.kind == Value::Kind::Integer ? v.integer != 0 : v.real != 0)) present(c);
            continue;
        }
        if (!c.fixed || v.isNull()) continue;
        putFixed(out.data() + 2 + c.fixedOffset, c, v);
        present(c);
    }
    for (const ColumnLayout& c : layout_.columns) {
        if (c.fixed) continue;
        varStart[c.varIndex] = static_cast<std::uint16_t>(out.size());
        const Value& v = row[c.number];
        if (v.isNull()) continue;
        present(c);
        switch (c.def.type) {
        case ColumnType::Text: {
            if (v.kind != Value::Kind::Text) throw std::invalid_argument("column " + c.def.name + " needs text");
            if (utf8ToUtf16(v.text).size() > c.def.size)
                throw std::invalid_argument("text longer than column " + c.def.name);
            const Bytes t = encodeText(v.text, c.def.compressed);
            out.insert(out.end(), t.begin(), t.end());
            break;
        }
        case ColumnType::Binary:
            if (v.kind != Value::Kind::Text) throw std::invalid_argument("column " + c.def.name + " needs bytes");
            if (v.text.size() > c.def.size) throw std::invalid_argument("binary longer than column " + c.def.name);
            putBytes(out, v.text.data(), v.text.size());
            break;
        case ColumnType::Memo: {
            if (v.kind != Value::Kind::Text) throw std::invalid_argument("column " + c.def.name + " needs text");
            scratch_ = encodeText(v.text, c.def.compressed);
            lv_.encode(scratch_.data(), scratch_.size(), out);
            break;
        }
        case ColumnType::Ole:
            if (v.kind != Value::Kind::Text) throw std::invalid_argument("column " + c.def.name + " needs bytes");
            lv_.encode(reinterpret_cast<const std::uint8_t*>(v.text.data()), v.text.size(), out);
            break;
        default: throw std::logic_error("not a variable column type");
        }
    }
    varStart[layout_.varCount] = static_cast<std::uint16_t>(out.size());
    // Variable offsets are stored last first, so the entry for index 0 sits next to the count.
    for (std::size_t i = layout_.varCount + 1; i-- > 0;) put16(out, varStart[i]);
    put16(out, layout_.varCount);
    out.insert(out.end(), mask.begin(), mask.end());
    if (out.size() > kMaxRowSize) throw std::invalid_argument("row too large for a page");
}

} // namespace ql::jetwriter
