#pragma once
// Splits a stored row into its columns (null mask, fixed area, variable
// area) and converts each to a Value.
#include <memory>
#include <vector>

#include "platform/jet/Context.h"
#include "platform/jet/TableDef.h"
#include "platform/jet/Value.h"

namespace ql::jet::detail {

// One value of the given type from its stored bytes (also used for the
// values inside property blobs).
Value decodeScalar(const std::shared_ptr<const Context>& context, std::uint8_t type, std::uint8_t scale,
                   ByteSpan bytes);

class RowDecoder {
public:
    RowDecoder(std::shared_ptr<const Context> context, const TableDef& table);
    // Fills out (one value per column of the table, in its column order).
    // Throws Error(Damaged) when the row's own offsets are impossible.
    void decode(ByteSpan row, std::vector<Value>& out) const;

private:
    std::shared_ptr<const Context> context_;
    std::vector<Column> columns_;
    bool hasVariable_ = false;
};

}  // namespace ql::jet::detail
