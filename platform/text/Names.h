#pragma once
// How the program compares the names of tables, queries, columns and other
// objects, and trims text. One rule for every layer, so that the reader, DAO,
// the query parser and the settings file agree on when two names are the same.
//
// Jet finds objects by name without regard to case: a query that says
// [ORDERS] reads the table Orders. The rule here folds the upper-case letters
// of Latin-1, Latin Extended-A, Greek and Cyrillic to lower case and nothing
// else: accents stay (e and é differ), and scripts without case compare as
// written. Qt's full Unicode folding, used here and there before, agreed with
// it on every name of the corpus; this one is kept because it is the reader's
// and needs no Qt below DAO.
#include <string>
#include <string_view>

namespace ql::text {

// Lower case of the letters the name rule folds; any other code point as is.
char32_t foldCase(char32_t codePoint);

bool sameName(std::string_view a, std::string_view b);
// The name with its letters folded, for keys of maps and sets of names.
std::string foldedName(std::string_view name);

// The text without the blanks at either end.
inline constexpr std::string_view kBlanks = " \t\r\n";
std::string trimmed(std::string_view text, std::string_view blanks = kBlanks);
// The same without a copy: a view into `text`.
std::string_view trimmedView(std::string_view text, std::string_view blanks = kBlanks);

}  // namespace ql::text
