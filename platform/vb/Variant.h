#pragma once
// A value as VB holds it in a Variant: what DAO hands out as Field.Value and
// Property.Value, and what the program turns into text.
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace ql::vb {

struct Empty {
    bool operator==(const Empty&) const = default;
};
struct Null {
    bool operator==(const Null&) const = default;
};

// Money: an exact count of ten-thousandths.
struct Currency {
    std::int64_t tenThousandths = 0;
    bool operator==(const Currency&) const = default;
};

// Days since 1899-12-30; the integer part is the date (negative before
// 1899-12-30), the absolute value of the fraction the time of day.
struct Date {
    double days = 0;
    bool operator==(const Date&) const = default;
};

using ByteArray = std::vector<std::uint8_t>;

// Integer types by width: Byte, Integer, Long. Text is UTF-8.
using Variant = std::variant<Empty, Null, bool, std::uint8_t, std::int16_t, std::int32_t, Currency, float, double,
                             Date, std::string, ByteArray>;

}  // namespace ql::vb
