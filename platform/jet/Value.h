#pragma once
// A column value as stored, converted to a C++ type but not yet to text:
// the callers (DAO, the report) each format values their own way.
#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace ql::jet {

namespace detail {
struct Context;
}

// Column type codes as stored in a table definition.
enum class ColumnType : std::uint8_t {
    Boolean = 0x01,
    Byte = 0x02,
    Integer = 0x03,
    Long = 0x04,
    Currency = 0x05,
    Single = 0x06,
    Double = 0x07,
    DateTime = 0x08,
    Binary = 0x09,
    Text = 0x0A,
    OLE = 0x0B,
    Memo = 0x0C,
    Guid = 0x0F,
    Decimal = 0x10,
    FixedBinary = 0x11,  // Jet 4 MSysAccessObjects.Data
};

const char* typeName(std::uint8_t typeCode);  // "Long", "Text" ... or "Unknown 0x12"

struct Null {
    bool operator==(const Null&) const = default;
};

// Money: an exact count of ten-thousandths.
struct Currency {
    std::int64_t tenThousandths = 0;
    std::string toString() const;  // exact, without trailing zeros: "12.75", "-3", "0.0001"
    bool operator==(const Currency&) const = default;
};

// Days since 1899-12-30. The integer part is the date (negative before
// 1899-12-30); the absolute value of the fraction is the time of day.
struct DateTime {
    double days = 0;
    struct Parts {
        int year, month, day, hour, minute, second;
    };
    Parts parts() const;              // rounded to the second
    std::string toIso() const;        // "1994-11-16 00:00:00"
    bool operator==(const DateTime&) const = default;
};

struct Guid {
    std::uint8_t bytes[16] = {};
    std::string toString() const;  // "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}"
    bool operator==(const Guid&) const = default;
};

// Numeric/Decimal: sign, 96-bit (stored as 128) magnitude and the column's scale.
struct Decimal {
    bool negative = false;
    std::uint8_t scale = 0;
    unsigned __int128 magnitude = 0;
    std::string toString() const;  // exact: "-123.450" keeps the scale's digits
    bool operator==(const Decimal&) const = default;
};

using Binary = std::vector<std::uint8_t>;

// A memo or OLE value. Only its 12-byte header (and inline data) is read with
// the row; the data itself is read when asked for, up to a cap.
class LongValue {
public:
    static constexpr std::size_t kDefaultCap = 64u * 1024 * 1024;

    LongValue() = default;
    LongValue(std::shared_ptr<const detail::Context> context, const std::uint8_t* header, std::size_t length,
              bool memo);

    std::uint32_t length() const { return length_; }  // bytes as stored (Jet 4 memo: UCS-2 or compressed)
    bool isMemo() const { return memo_; }
    // The stored bytes. Throws Error(TooLarge) above cap, Error(Damaged)
    // when the chain of pages is broken.
    Binary bytes(std::size_t cap = kDefaultCap) const;
    // A memo's text as UTF-8 (decoded like a Text column).
    std::string text(std::size_t cap = kDefaultCap) const;

    bool operator==(const LongValue& other) const;

private:
    std::shared_ptr<const detail::Context> context_;
    std::uint32_t length_ = 0;
    std::uint8_t kind_ = 0;          // 2 inline, 1 one row, 0 chain
    std::uint32_t pointer_ = 0;      // first row (page << 8 | row)
    Binary inline_;                  // the data when inline
    bool memo_ = false;
};

class Value {
public:
    using Data = std::variant<Null, bool, std::uint8_t, std::int16_t, std::int32_t, Currency, float, double, DateTime,
                              Binary, std::string, LongValue, Guid, Decimal>;
    Value() = default;
    template <class T>
    Value(T v) : data_(std::move(v)) {}

    bool isNull() const { return std::holds_alternative<Null>(data_); }
    const Data& data() const { return data_; }
    template <class T>
    bool is() const { return std::holds_alternative<T>(data_); }
    template <class T>
    const T& as() const { return std::get<T>(data_); }
    template <class T>
    const T* get() const { return std::get_if<T>(&data_); }

    // A plain rendering for tools and logs: numbers as C++ prints them,
    // binary as hex, memo text in full (OLE as its length), Null as "".
    std::string toDebugString() const;

private:
    Data data_;
};

}  // namespace ql::jet
