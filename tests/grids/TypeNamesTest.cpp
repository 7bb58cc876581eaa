#include <gtest/gtest.h>

#include "grids/Fillers.h"

namespace ql::grids {
namespace {

TEST(FieldTypeName, NamesEveryKnownCodeAndNothingElse) {
    EXPECT_EQ(FieldTypeName(1), "Boolean");
    EXPECT_EQ(FieldTypeName(10), "Text");
    EXPECT_EQ(FieldTypeName(11), "Long Binary");
    EXPECT_EQ(FieldTypeName(12), "Memo");
    EXPECT_EQ(FieldTypeName(15), "GUID");
    EXPECT_EQ(FieldTypeName(17), "Var Binary");
    EXPECT_EQ(FieldTypeName(23), "TimeStamp");
    // The gaps and the ends have no name.
    for (std::int16_t code : {0, 13, 14, 24, 26, 101, -1, -32768}) EXPECT_EQ(FieldTypeName(code), "Unknown") << code;
}

TEST(QueryTypeName, NamesEveryKnownCodeAndNothingElse) {
    EXPECT_EQ(QueryTypeName(0), "Select");
    EXPECT_EQ(QueryTypeName(16), "CrossTab");
    EXPECT_EQ(QueryTypeName(48), "Update");
    EXPECT_EQ(QueryTypeName(64), "Insert");
    EXPECT_EQ(QueryTypeName(112), "SQLPassThrough");
    EXPECT_EQ(QueryTypeName(128), "SetOperation");
    EXPECT_EQ(QueryTypeName(240), "Action");
    for (std::int16_t code : {1, 8, 255, -1}) EXPECT_EQ(QueryTypeName(code), "Unknown") << code;
}

}  // namespace
}  // namespace ql::grids
