#pragma once
// The header page: format detection, the masked region, the header facts.
#include <vector>

#include "platform/jet/Bytes.h"
#include "platform/jet/Database.h"
#include "platform/jet/Format.h"

namespace ql::jet::detail {

struct ParsedHeader {
    HeaderInfo info;
    const Format* format = nullptr;
    std::vector<std::uint8_t> page;  // page 0 with the mask removed
};

// Throws NotJet, Unsupported or Truncated with the reason.
ParsedHeader parseHeader(ByteSpan file);

}  // namespace ql::jet::detail
