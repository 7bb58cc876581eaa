#pragma once
// What every decoder of one open file shares: its pages, its format table
// and its text codec. Long values keep it alive so they can be read later.
#include <memory>

#include "platform/jet/Format.h"
#include "platform/jet/PageSource.h"
#include "platform/jet/TextCodec.h"

namespace ql::jet::detail {

struct Context {
    std::shared_ptr<PageSource> pages;
    const Format* format = nullptr;
    std::unique_ptr<TextCodec> codec;
};

}  // namespace ql::jet::detail
