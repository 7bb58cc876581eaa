#include <gtest/gtest.h>

// Built when mdbtools' library is missing, so that the run says what it left out.
TEST(VbaCorpus, NeedsMdbtoolsDev) {
    GTEST_SKIP() << "install mdbtools-dev to read the corpus's VBA projects in tests";
}
