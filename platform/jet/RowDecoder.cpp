#include "platform/jet/RowDecoder.h"

#include <array>

namespace ql::jet::detail {

namespace {
constexpr std::size_t kLongValueHeader = 12;
constexpr std::size_t kMaxVarColumns = 4096;

// Storage size of the fixed-size types; 0 = take the column's length.
std::size_t fixedSize(std::uint8_t type) {
    switch (static_cast<ColumnType>(type)) {
        case ColumnType::Byte: return 1;
        case ColumnType::Integer: return 2;
        case ColumnType::Long: return 4;
        case ColumnType::Currency: return 8;
        case ColumnType::Single: return 4;
        case ColumnType::Double: return 8;
        case ColumnType::DateTime: return 8;
        case ColumnType::Guid: return 16;
        case ColumnType::Decimal: return 17;
        default: return 0;
    }
}

[[noreturn]] void badRow(const std::string& what) { damaged("damaged row: " + what); }

// Start offsets of the variable columns, plus the end of the last one.
void variableOffsets(const Format& f, ByteSpan row, std::size_t nullMaskSize, std::vector<std::size_t>& off) {
    const std::size_t n = row.size();
    off.clear();
    if (f.jet4) {
        if (n < nullMaskSize + 2) badRow("too short for its variable-column count");
        const std::size_t nvar = u16(row, n - nullMaskSize - 2);
        if (nvar > kMaxVarColumns || n < nullMaskSize + 2 + 2 * (nvar + 1))
            badRow("variable-column count " + std::to_string(nvar) + " does not fit a row of " + std::to_string(n) +
                   " bytes");
        for (std::size_t i = 0; i <= nvar; ++i) off.push_back(u16(row, n - nullMaskSize - 4 - 2 * i));
    } else {
        if (n < nullMaskSize + 1) badRow("too short for its variable-column count");
        const std::size_t nvar = row[n - nullMaskSize - 1];
        std::size_t jumps = (n - 1) / 256;
        if (n < nullMaskSize + jumps + 2 + nvar) badRow("variable-column table does not fit the row");
        const std::size_t base = n - nullMaskSize - jumps - 2;
        // The last jump byte can be a dummy (0xFF) when the table itself
        // straddles a 256-byte boundary.
        if ((base - nvar) / 256 < jumps) --jumps;
        std::size_t used = 0;
        for (std::size_t i = 0; i <= nvar; ++i) {
            while (used < jumps && row[n - nullMaskSize - 2 - used] == i) ++used;
            off.push_back(row[base - i] + 256 * used);
        }
    }
    for (std::size_t i = 0; i + 1 < off.size(); ++i)
        if (off[i] > off[i + 1] || off[i + 1] > n)
            badRow("variable column " + std::to_string(i) + " spans " + std::to_string(off[i]) + ".." +
                   std::to_string(off[i + 1]) + " in a row of " + std::to_string(n) + " bytes");
}
}  // namespace

Value decodeScalar(const std::shared_ptr<const Context>& context, std::uint8_t type, std::uint8_t scale,
                   ByteSpan b) {
    const std::size_t want = fixedSize(type);
    if (want && b.size() < want) badRow("a value of type " + std::string(typeName(type)) + " has only " +
                                        std::to_string(b.size()) + " bytes");
    switch (static_cast<ColumnType>(type)) {
        case ColumnType::Boolean: return Value(!b.empty() && b[0] != 0);
        case ColumnType::Byte: return Value(b[0]);
        case ColumnType::Integer: return Value(static_cast<std::int16_t>(u16(b, 0)));
        case ColumnType::Long: return Value(static_cast<std::int32_t>(u32(b, 0)));
        case ColumnType::Currency: return Value(Currency{static_cast<std::int64_t>(u64(b, 0))});
        case ColumnType::Single: return Value(f32(b, 0));
        case ColumnType::Double: return Value(f64(b, 0));
        case ColumnType::DateTime: return Value(DateTime{f64(b, 0)});
        case ColumnType::Text: return Value(context->codec->decodeText(b));
        case ColumnType::Memo:
        case ColumnType::OLE:
            if (b.size() < kLongValueHeader) return Value(LongValue());
            return Value(LongValue(context, b.data(), b.size(), type == static_cast<std::uint8_t>(ColumnType::Memo)));
        case ColumnType::Guid: {
            Guid g;
            std::copy(b.begin(), b.begin() + 16, g.bytes);
            return Value(g);
        }
        case ColumnType::Decimal: {
            Decimal d;
            d.negative = b[0] & 0x80;
            d.scale = scale;
            for (int i = 0; i < 4; ++i) d.magnitude = (d.magnitude << 32) | u32(b, 1 + 4 * i);
            return Value(d);
        }
        default: return Value(Binary(b.begin(), b.end()));
    }
}

RowDecoder::RowDecoder(std::shared_ptr<const Context> context, const TableDef& table)
    : context_(std::move(context)), columns_(table.columns), hasVariable_(table.varColumns > 0) {}

void RowDecoder::decode(ByteSpan row, std::vector<Value>& out) const {
    const Format& f = *context_->format;
    out.resize(columns_.size());
    const std::size_t n = row.size();
    if (n < f.rowColumnCountSize) badRow("empty row");
    const std::size_t ncols = f.rowColumnCountSize == 1 ? row[0] : u16(row, 0);
    const std::size_t nullMaskSize = (ncols + 7) / 8;
    if (n < f.rowColumnCountSize + nullMaskSize)
        badRow("a row of " + std::to_string(n) + " bytes cannot hold the null mask of " + std::to_string(ncols) +
               " columns");
    const ByteSpan nullMask = row.subspan(n - nullMaskSize);
    thread_local std::vector<std::size_t> off;
    off.clear();
    bool offsetsRead = false;

    for (std::size_t i = 0; i < columns_.size(); ++i) {
        const Column& c = columns_[i];
        const bool inRow = c.number < ncols;
        const bool present = inRow && (nullMask[c.number / 8] & (1u << (c.number % 8)));
        if (c.type == static_cast<std::uint8_t>(ColumnType::Boolean)) {
            out[i] = Value(present);
            continue;
        }
        if (!present) {
            out[i] = Value(Null{});
            continue;
        }
        ByteSpan bytes;
        if (c.isFixed()) {
            std::size_t len = fixedSize(c.type);
            if (!len) len = c.length;
            const std::size_t start = f.rowColumnCountSize + std::size_t(c.fixedOffset);
            if (start + len > n - nullMaskSize)
                badRow("fixed column " + c.name + " at " + std::to_string(start) + "+" + std::to_string(len) +
                       " overruns a row of " + std::to_string(n) + " bytes");
            bytes = row.subspan(start, len);
        } else {
            if (!hasVariable_) badRow("variable column " + c.name + " in a table without variable columns");
            if (!offsetsRead) {
                variableOffsets(f, row, nullMaskSize, off);
                offsetsRead = true;
            }
            if (std::size_t(c.varIndex) + 1 >= off.size()) {
                out[i] = Value(Null{});
                continue;
            }
            bytes = row.subspan(off[c.varIndex], off[c.varIndex + 1] - off[c.varIndex]);
        }
        out[i] = decodeScalar(context_, c.type, c.scale, bytes);
    }
}

}  // namespace ql::jet::detail
