#pragma once
// Conversions between the program's UTF-8 texts and the UTF-16 code units a
// workbook stores. Excel counts a text's length in UTF-16 code units, so limits
// (31 characters of a sheet name, 32767 of a cell) are checked on the result.
#include <string>
#include <string_view>

namespace ql::workbook {

// Invalid UTF-8 sequences and NUL bytes become U+FFFD instead of failing: a
// path or name read from a damaged database must still reach the report.
std::u16string toUtf16(std::string_view utf8);

// Unpaired surrogates become U+FFFD.
std::string toUtf8(std::u16string_view utf16);

}  // namespace ql::workbook
