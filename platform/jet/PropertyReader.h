#pragma once
#include <memory>

#include "platform/jet/Context.h"
#include "platform/jet/Properties.h"

namespace ql::jet::detail {

// Throws Error(Damaged) when a chunk or entry overruns the blob.
PropertyBlob parseProperties(const std::shared_ptr<const Context>& context, ByteSpan blob);

}  // namespace ql::jet::detail
