#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <limits>

#include "platform/RuntimeError.h"
#include "platform/vb/VbText.h"

namespace {

using namespace ql::vb;

// 2001-03-07 and 2024-03-05 as day numbers (days since 1899-12-30).
constexpr double March7th2001 = 36957;
constexpr double March5th2024 = 45356;
double at(double day, int h, int m, int s) { return day + (h * 3600 + m * 60 + s) / 86400.0; }

TEST(VbCStr, BooleansIntegersAndText) {
    EXPECT_EQ(CStr(true), "True");
    EXPECT_EQ(CStr(false), "False");
    EXPECT_EQ(CStr(std::uint8_t{255}), "255");
    EXPECT_EQ(CStr(std::int16_t{-32768}), "-32768");
    EXPECT_EQ(CStr(std::int32_t{2147483647}), "2147483647");
    EXPECT_EQ(CStr(std::string("as it is")), "as it is");
    EXPECT_EQ(CStr(Empty{}), "");
}

TEST(VbCStr, NullIsError94) {
    try {
        CStr(Null{});
        FAIL() << "no error";
    } catch (const ql::RuntimeError& e) {
        EXPECT_EQ(e.number(), 94);
    }
}

TEST(VbCStr, DoublesKeepFifteenDigits) {
    EXPECT_EQ(CStr(0.5), "0.5");
    EXPECT_EQ(CStr(-3.0), "-3");
    EXPECT_EQ(CStr(-0.0), "0");
    EXPECT_EQ(CStr(0.1 + 0.2), "0.3");
    EXPECT_EQ(CStr(1.0 / 3), "0.333333333333333");
    EXPECT_EQ(CStr(123456789012345.0), "123456789012345");
    EXPECT_EQ(CStr(1234567890123456.0), "1.23456789012346E+15");
    EXPECT_EQ(CStr(1e16), "1E+16");
    EXPECT_EQ(CStr(1e100), "1E+100");
    EXPECT_EQ(CStr(0.0001), "0.0001");
    EXPECT_EQ(CStr(0.000015), "1.5E-05");
}

TEST(VbCStr, SinglesKeepSevenDigits) {
    EXPECT_EQ(CStr(0.1f), "0.1");
    EXPECT_EQ(CStr(1.1f), "1.1");
    EXPECT_EQ(CStr(1234567.0f), "1234567");
    EXPECT_EQ(CStr(16777216.0f), "1.677722E+07");
}

TEST(VbCStr, CurrencyWithoutTrailingZeros) {
    EXPECT_EQ(CStr(Currency{127500}), "12.75");
    EXPECT_EQ(CStr(Currency{-30000}), "-3");
    EXPECT_EQ(CStr(Currency{1}), "0.0001");
    EXPECT_EQ(CStr(Currency{std::numeric_limits<std::int64_t>::min()}), "-922337203685477.5808");
}

TEST(VbCStr, GeneralDateForm) {
    EXPECT_EQ(CStr(Date{0}), "12:00:00 AM");
    EXPECT_EQ(CStr(Date{36526}), "1/1/2000");
    EXPECT_EQ(CStr(Date{36526.5}), "1/1/2000 12:00:00 PM");
    EXPECT_EQ(CStr(Date{at(March7th2001, 14, 5, 9)}), "3/7/2001 2:05:09 PM");
    EXPECT_EQ(CStr(Date{0.75}), "6:00:00 PM");
    // Before day 0 the fraction still counts forward from midnight.
    EXPECT_EQ(CStr(Date{-1}), "12/29/1899");
    EXPECT_EQ(CStr(Date{-1.5}), "12/29/1899 12:00:00 PM");
    // Day 60 is 28 February 1900: no phantom leap day.
    EXPECT_EQ(CStr(Date{60}), "2/28/1900");
    EXPECT_EQ(CStr(Date{2958465}), "12/31/9999");
    // Rounded to the second, into the next day when it must.
    EXPECT_EQ(CStr(Date{1.9999999}), "1/1/1900");
    EXPECT_EQ(timeText(at(March7th2001, 0, 0, 1)), "12:00:01 AM");
}

TEST(VbCStr, ByteArraysReadAsUtf16) {
    EXPECT_EQ(CStr(ByteArray{0x41, 0x00, 0x1F, 0x04}), "A\xD0\x9F");  // "AП"
    EXPECT_EQ(CStr(ByteArray{0x41}), "A");
    EXPECT_EQ(CStr(ByteArray{}), "");
}

TEST(VbIsNumeric, TheOleNumberGrammar) {
    for (const char* yes : {"1", " 12 ", "+1", "-1", "1-", "1+", "(5)", "$5", "5$", "-$5", "1,2,3", "1,", ".5", "5.",
                            "1e5", "1E-5", "1.5e+3", "&HFF", "&o17", "1,000.25"})
        EXPECT_TRUE(IsNumeric(std::string(yes))) << yes;
    for (const char* no : {"", "  ", "-", "$", "()", ".", ",1", "1 2", "1e", "1e+", "&H", "&HG", "&O8", "abc", "1..2",
                           "--1", "-1-", "(5", "5)", "1.2.3", "(-5)", "$$5"})
        EXPECT_FALSE(IsNumeric(std::string(no))) << no;
    EXPECT_TRUE(IsNumeric(Variant{Empty{}}));
    EXPECT_FALSE(IsNumeric(Variant{Null{}}));
    EXPECT_FALSE(IsNumeric(Variant{Date{1}}));
    EXPECT_TRUE(IsNumeric(Variant{true}));
    EXPECT_TRUE(IsNumeric(Variant{Currency{5}}));
    EXPECT_TRUE(IsNumeric(Variant{std::string("12")}));
}

TEST(VbFormat, ZeroPaddedWholeNumbers) {
    EXPECT_EQ(Format(3265.0, "000000"), "003265");
    EXPECT_EQ(Format(std::int32_t{-42}, "000000"), "-000042");
    EXPECT_EQ(Format(1234567.0, "000000"), "1234567");
    // Half away from zero, unlike CInt.
    EXPECT_EQ(Format(2.5, "0"), "3");
    EXPECT_EQ(Format(-2.5, "0"), "-3");
    EXPECT_EQ(Format(0.4, "0"), "0");
    EXPECT_EQ(Format(true, "0"), "-1");
    // Numeric text is converted first; other text is returned unchanged.
    EXPECT_EQ(Format(std::string("12"), "000000"), "000012");
    EXPECT_EQ(Format(std::string("n/a"), "000000"), "n/a");
    EXPECT_EQ(Format(Null{}, "0"), "");
    EXPECT_EQ(Format(Empty{}, "0"), "");
}

// The report's patterns; numbers are read as dates by a date pattern.
TEST(VbFormat, DatePatterns) {
    const Date when{at(March5th2024, 14, 5, 9)};
    EXPECT_EQ(Format(when, "dd mmmm yyyy"), "05 March 2024");
    EXPECT_EQ(Format(when, "yyyy"), "2024");
    EXPECT_EQ(Format(when), "3/5/2024 2:05:09 PM");
    EXPECT_EQ(Format(36526.0, "yyyy-mm-dd"), "2000-01-01");
}

TEST(VbClock, LocalWallClockAsDays) {
    const char* saved = std::getenv("TZ");
    const std::string previous = saved ? saved : "";
    setenv("TZ", "UTC0", 1);
    tzset();
    EXPECT_EQ(localDays(0), 25569);
    EXPECT_EQ(CStr(Date{localDays(951782400 + 13 * 3600 + 5)}), "2/29/2000 1:00:05 PM");
    setenv("TZ", "EST5", 1);
    tzset();
    EXPECT_EQ(CStr(Date{localDays(0)}), "12/31/1969 7:00:00 PM");
    if (saved) setenv("TZ", previous.c_str(), 1);
    else unsetenv("TZ");
    tzset();
}

TEST(VbFixedWidth, PaddedOrCutToExactWidth) {
    EXPECT_EQ(fixedWidth("abc", 5), "abc  ");
    EXPECT_EQ(fixedWidth("abcdef", 3), "abc");
    EXPECT_EQ(fixedWidth("Привет", 4), "Прив");
    EXPECT_EQ(fixedWidth("Привет", 8), "Привет  ");
    EXPECT_EQ(fixedWidth("", 2), "  ");
    EXPECT_EQ(fixedWidth("x", 0), "");
}

}  // namespace
