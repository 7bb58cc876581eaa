// What a caller asks the writer to create: tables, columns, indexes and cell values.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ql::jetwriter {

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
    Ole = 0x0B,
    Memo = 0x0C,
    Guid = 0x0F,
    Decimal = 0x10,
    // Fixed 3992-byte binary, only in Access's MSysAccessObjects.
    AccessObjectData = 0x11,
};

struct ColumnDef {
    std::string name;
    ColumnType type = ColumnType::Long;
    // Text: characters (1..255); Binary: bytes (1..255). Ignored for other types.
    std::uint16_t size = 0;
    // Text and Memo: store values that fit in Latin-1 in Jet's one-byte "compressed" form.
    bool compressed = true;
    bool autoNumber = false; // Long only
    std::uint8_t precision = 18; // Decimal
    std::uint8_t scale = 0;      // Decimal
    bool required = false;       // stored as the Required property
    std::string description;     // stored as the Description property when not empty
};

struct IndexColumn {
    std::string column;
    bool ascending = true;
};

struct IndexDef {
    std::string name;
    std::vector<IndexColumn> columns; // 1..10
    bool primaryKey = false;
    bool unique = false;
    bool ignoreNulls = false;
    bool required = false;
};

struct TableDef {
    std::string name;
    std::vector<ColumnDef> columns;
    std::vector<IndexDef> indexes;
    std::string description; // the table's Description property when not empty
};

// One cell. How it is read depends on the column type:
//   Boolean, Byte, Integer, Long: integer
//   Currency: integer = amount x 10000; Decimal: integer = unscaled value (value x 10^scale)
//   Single, Double: real; DateTime: real = days since 1899-12-30
//   Text, Memo: UTF-8 text; Binary, Ole: raw bytes; Guid: "{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}"
struct Value {
    enum class Kind : std::uint8_t { Null, Integer, Real, Text };
    Kind kind = Kind::Null;
    std::int64_t integer = 0;
    double real = 0;
    std::string text;

    static Value null() { return {}; }
    static Value of(std::int64_t v) { Value x; x.kind = Kind::Integer; x.integer = v; return x; }
    static Value ofReal(double v) { Value x; x.kind = Kind::Real; x.real = v; return x; }
    static Value ofText(std::string v) { Value x; x.kind = Kind::Text; x.text = std::move(v); return x; }
    bool isNull() const { return kind == Kind::Null; }
};

using Row = std::vector<Value>;

} // namespace ql::jetwriter
