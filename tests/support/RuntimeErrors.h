#pragma once
// The number of the run-time error a call raises; 0 when it raises none.
// An error without a description is a fault of its own.
#include <gtest/gtest.h>

#include "platform/RuntimeError.h"

namespace ql::test {

template <typename Call>
int errorNumberOf(Call&& call) {
    try {
        call();
    } catch (const RuntimeError& e) {
        EXPECT_FALSE(e.description().empty()) << e.number();
        return e.number();
    }
    return 0;
}

}  // namespace ql::test
