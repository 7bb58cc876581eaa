#pragma once
// QL_INVARIANT(condition): a promise our own code makes to itself, such as
// an index we computed being in range. Kept in release builds: a broken
// promise must stop the program with where it broke, not read on as if the
// file were damaged. Never for what a file contains; that is checked and
// reported as a format error.
#include <cstdio>
#include <cstdlib>

#define QL_INVARIANT(condition)                                                                          \
    do {                                                                                                 \
        if (!(condition)) ::ql::invariantBroken(#condition, __FILE__, __LINE__);                         \
    } while (false)

namespace ql {

[[noreturn]] inline void invariantBroken(const char* condition, const char* file, int line) {
    std::fprintf(stderr, "quarrylantern: internal error: %s does not hold (%s:%d)\n", condition, file, line);
    std::abort();
}

}  // namespace ql
