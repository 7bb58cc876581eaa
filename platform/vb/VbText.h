#pragma once
// The VB runtime's functions the program uses: conversions between values
// and text (CStr, Val, IsNumeric, Format, Len, Right) and the clock. Not DAO:
// the window, the grids and the report writers call them on any value.
// Numbers follow VB's English (United States) forms; dates follow the
// user's locale, as VB's do.
#include <cstdint>
#include <ctime>
#include <string>

#include "platform/vb/Variant.h"

namespace ql::vb {

// CStr. Empty gives ""; Null raises run-time error 94 "Invalid use of Null"
// (a ql::RuntimeError). A byte array is read as UTF-16 text, as VB does.
std::string CStr(const Variant& value);

std::string booleanText(bool value);              // "True", "False"
std::string doubleText(double value);             // up to 15 significant digits, "1E+16", "1.5E-05"
std::string singleText(float value);              // up to 7 significant digits
std::string currencyText(std::int64_t tenThousandths);  // "12.75", "-3", "0.0001"
// The general date form in the user's locale (LC_ALL, LC_TIME, LANG): the
// short date and the long time, "3/7/2001 2:05:09 PM" in English (United
// States) and without a locale, "07.03.2001 14:05:09" in German; the date
// alone at midnight, the time alone on day 0 ("12:00:00 AM" for 0).
std::string dateText(double days);
std::string timeText(double days);                // the long time of day: "2:05:09 PM" (locale as above)

// A moment as a VB date in local wall-clock time, whole seconds (what Now
// and the file dates give). Days since 1899-12-30.
double localDays(std::time_t seconds);
double Now();  // the current local date and time

// IsNumeric: the whole text reads as a number in the OLE way (blanks around,
// one sign before or after or parentheses, "$" before or after, thousands
// separators after the first digit, one decimal point, an exponent, "&H"/"&O").
bool IsNumeric(const std::string& text);
bool IsNumeric(const Variant& value);  // Empty: true; Null, Date, byte array: false

// Format with a user pattern. Numbers: "0" and "#" digit places, "." and ","
// (thousands), rounding half away from zero. Dates: d dd ddd dddd m mm mmm
// mmmm yy yyyy (the placeholders the program's patterns use). A numeric text
// is formatted as its number; other text comes back unchanged; Empty and
// Null give "".
std::string Format(const Variant& value, const std::string& pattern = "");

// Val: leading blanks, a sign, digits and one decimal point; anything else
// ends the number, and no number at all is 0.
double Val(const std::string& text);

// The text padded with blanks on the right, or cut, to exactly `width`
// characters (UTF-16 units, as VB counts them).
std::string fixedWidth(const std::string& text, int width);

// VB's Len and Right: lengths in UTF-16 units. Right never splits a
// surrogate pair: it gives one unit less instead.
int Len(const std::string& text);
std::string Right(const std::string& text, int count);

}  // namespace ql::vb
