#include <gtest/gtest.h>

#include "platform/text/CodePage.h"
#include "platform/text/Names.h"
#include "platform/text/Unicode.h"

namespace {

using namespace ql::text;

TEST(ObjectNames, CompareWithoutCaseAcrossScriptsButKeepAccents) {
    EXPECT_TRUE(sameName("Order Details", "ORDER details"));
    EXPECT_TRUE(sameName("\xC3\x84pfel", "\xC3\xA4PFEL"));  // Äpfel
    EXPECT_TRUE(sameName("\xD0\x9A\xD0\xBB\xD0\xB8\xD0\xB5\xD0\xBD\xD1\x82",
                         "\xD0\xBA\xD0\x9B\xD0\x98\xD0\x95\xD0\x9D\xD0\xA2"));  // Клиент
    EXPECT_TRUE(sameName("\xC5\x81\xC3\xB3\x64\xC5\xBA", "\xC5\x82\xC3\x93\x44\xC5\xB9"));  // Łódź, Latin Extended-A
    EXPECT_FALSE(sameName("Orders", "Order"));
    EXPECT_FALSE(sameName("e", "\xC3\xA9"));  // é
    EXPECT_EQ(foldedName("Order \xD0\x9A"), "order \xD0\xBA");
    EXPECT_EQ(trimmed(" \r\n SELECT 1;\t"), "SELECT 1;");
    EXPECT_EQ(trimmed(" \t "), "");
}

TEST(Utf16, SurrogatesOddBytesAndInvalidUtf8BecomeReplacements) {
    // "A", U+1F600 as a pair, a lone high surrogate, then half a unit.
    const std::string bytes("A\0\x3D\xD8\x00\xDE\x3D\xD8" "B", 9);
    EXPECT_EQ(utf16leToUtf8(bytes, OddByte::Drop), "A\xF0\x9F\x98\x80\xEF\xBF\xBD");
    EXPECT_EQ(utf16leToUtf8(bytes, OddByte::Replace), "A\xF0\x9F\x98\x80\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(toUtf8(u"x\xD800y"), "x\xEF\xBF\xBDy");
    // Each byte that starts no valid sequence, an overlong form and a NUL
    // become one U+FFFD; the text goes on after them.
    EXPECT_EQ(toUtf16(std::string("a\xE2\x82" "b\xC0\xAF" "c\0d\xF0\x9F\x98\x80", 13)),
              u"a\xFFFD\xFFFD" u"b\xFFFD\xFFFD" u"c\xFFFD" u"d\U0001F600");
    EXPECT_EQ(toUtf8(toUtf16("\xD0\x9A\xC3\xA9")), "\xD0\x9A\xC3\xA9");
}

TEST(CodePages, SingleAndMultiByteAndFallback) {
    EXPECT_EQ(decodeCodePage("caf\xE9", 1252), "caf\xC3\xA9");
    EXPECT_EQ(decodeCodePage("\xCA\xEB", 1251), "\xD0\x9A\xD0\xBB");  // Кл
    EXPECT_EQ(decodeCodePage("\xC7\xE1", 1256), "\xD8\xA7\xD9\x84");  // ال
    EXPECT_EQ(decodeCodePage("\xA1", 874), "\xE0\xB8\x81");             // ก
    EXPECT_EQ(decodeCodePage("\x83\x65\x83\x58\x83\x67", 932), "\xE3\x83\x86\xE3\x82\xB9\xE3\x83\x88");  // テスト
    // A cut-short double-byte character is one replacement, not the end.
    EXPECT_EQ(decodeCodePage("\x83" , 932), "\xEF\xBF\xBD");
    EXPECT_NE(decodeCodePage("\x93" "a\x81", 936).find("\xEF\xBF\xBD"), std::string::npos);
    EXPECT_EQ(decodeCodePage("a\x81", 1252), "a\xEF\xBF\xBD");  // 0x81 is not in windows-1252
    const CodePageDecoder unknown(12345);
    EXPECT_EQ(unknown.codePage(), kFallbackCodePage);
    EXPECT_FALSE(codePageSupported(12345));
    EXPECT_TRUE(codePageSupported(1251));
}

}  // namespace
