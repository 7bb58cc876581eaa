#include "platform/vba/ModuleSource.h"

#include <gtest/gtest.h>

namespace ql::vba {
namespace {

using Lines = std::vector<std::string>;

TEST(ModuleSource, HiddenAttributeLinesAreNotNumbered) {
    const ModuleSource source(
        "Attribute VB_Name = \"Class1\"\r\n"
        "Attribute VB_GlobalNameSpace = False\r\n"
        "Attribute VB_Exposed = False\r\n"
        "Option Compare Database\r\n"
        "Private WithEvents sf As Form\r\n"
        "Attribute sf.VB_VarHelpID = -1\r\n"
        "Public Function Item() As Long\r\n"
        "Attribute Item.VB_UserMemId = 0\r\n"
        "  Attribute is a word in this indented line\r\n"
        "' Attribute VB_Name = \"in a comment\"\r\n"
        "AttributeX = 1\r\n"
        "End Function\r\n",
        1252);
    EXPECT_EQ(source.visibleLines(),
              (Lines{"Option Compare Database", "Private WithEvents sf As Form", "Public Function Item() As Long",
                     "  Attribute is a word in this indented line", "' Attribute VB_Name = \"in a comment\"",
                     "AttributeX = 1", "End Function"}));
    EXPECT_EQ(source.countOfLines(), 7);
}

TEST(ModuleSource, BlankLinesLoneLineEndsAndHeaderOnlyModules) {
    const ModuleSource source("Attribute VB_Name = \"M\"\r\nOption Explicit\r\n\r\nSub S()\r\nEnd Sub\r\n\r\n\r\n", 1252);
    EXPECT_EQ(source.countOfLines(), 6);  // trailing blank lines count too
    EXPECT_EQ(source.lines(6, 1), "");
    EXPECT_EQ(source.lines(2, 1), "");
    EXPECT_EQ(ModuleSource("a\rb\nc\r\n\r\nd", 1252).visibleLines(), (Lines{"a", "b", "c", "", "d"}));
    EXPECT_EQ(ModuleSource("Attribute VB_Name = \"Empty\"\r\n", 1252).countOfLines(), 0);
    EXPECT_EQ(ModuleSource("", 1252).countOfLines(), 0);
}

TEST(ModuleSource, LinesJoinsARangeWithCrLf) {
    const ModuleSource source("Attribute VB_Name = \"M\"\r\none\r\ntwo\r\nthree\r\n", 1252);
    EXPECT_EQ(source.lines(1, 1), "one");
    EXPECT_EQ(source.lines(2, 2), "two\r\nthree");
    EXPECT_EQ(source.lines(3, 10), "three");
    EXPECT_EQ(source.lines(4, 1), "");
    EXPECT_THROW(source.lines(0, 1), std::out_of_range);
    EXPECT_THROW(source.lines(1, 0), std::out_of_range);
}

TEST(ModuleSource, TextIsDecodedWithTheProjectCodePageAndBadBytesMarked) {
    // "' Привет" in windows-1251 and "' 你好" in cp936 (GBK).
    const ModuleSource russian("' \xCF\xF0\xE8\xE2\xE5\xF2\r\n", 1251);
    EXPECT_EQ(russian.lines(1, 1), "' \xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82");
    const ModuleSource chinese("' \xC4\xE3\xBA\xC3\r\n", 936);
    EXPECT_EQ(chinese.lines(1, 1), "' \xE4\xBD\xA0\xE5\xA5\xBD");
    EXPECT_FALSE(chinese.hasUndecodableBytes());
    // A non-breaking space in a windows-1252 comment.
    EXPECT_EQ(ModuleSource("'a\xA0z\r\n", 0).lines(1, 1), "'a\xC2\xA0z");

    // 0x81 is unassigned in windows-1252; a cut double-byte character at the end in cp936.
    const ModuleSource western("'x\x81y\r\n", 1252);
    EXPECT_EQ(western.lines(1, 1), "'x\xEF\xBF\xBDy");
    EXPECT_TRUE(western.hasUndecodableBytes());
    const ModuleSource cut("'\xC4", 936);
    EXPECT_EQ(cut.lines(1, 1), "'\xEF\xBF\xBD");
}

TEST(ModuleSource, AttributeLineNeedsNameAndEquals) {
    EXPECT_TRUE(isAttributeLine("Attribute VB_Name = \"M\""));
    EXPECT_TRUE(isAttributeLine("Attribute X.VB_Description = \"d\""));
    EXPECT_FALSE(isAttributeLine("Attribute"));
    EXPECT_FALSE(isAttributeLine("Attribute  = 1"));
    EXPECT_FALSE(isAttributeLine("Attribute VB_Name"));
    EXPECT_FALSE(isAttributeLine("attribute VB_Name = 1"));
}

}  // namespace
}  // namespace ql::vba
