#include <gtest/gtest.h>

#include "grids/Fillers.h"

namespace ql::grids {
namespace {

// The names a written database cannot show (the analysis test sees every
// stored type's name), and the codes without a name.
TEST(TypeNames, CodesNoFileOfOursHoldsAndTheGaps) {
    EXPECT_EQ(FieldTypeName(17), "Var Binary");
    EXPECT_EQ(FieldTypeName(23), "TimeStamp");
    for (std::int16_t code : {0, 13, 14, 24, 26, 101, -1, -32768}) EXPECT_EQ(FieldTypeName(code), "Unknown") << code;

    const std::pair<std::int16_t, const char*> queries[] = {
        {0, "Select"}, {16, "CrossTab"}, {48, "Update"}, {64, "Insert"},
        {112, "SQLPassThrough"}, {128, "SetOperation"}, {240, "Action"},
    };
    for (const auto& [code, name] : queries) EXPECT_EQ(QueryTypeName(code), name) << code;
    for (std::int16_t code : {1, 8, 255, -1}) EXPECT_EQ(QueryTypeName(code), "Unknown") << code;
}

}  // namespace
}  // namespace ql::grids
