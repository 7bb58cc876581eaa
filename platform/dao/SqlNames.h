#pragma once
// How Jet writes a name into SQL text: as it is when it reads as one plain
// word, in square brackets otherwise, so that the text parses again.
#include <string>
#include <vector>

namespace ql::dao {

// True for a name made only of letters (of any script), digits and "_",
// not starting with a digit.
bool isPlainName(const std::string& name);

// True when the whole text is one bracketed name: "[Order Details]".
bool isBracketed(const std::string& name);

// A table, query or alias name: "Order Details" -> "[Order Details]",
// "Orders" and "[Orders]" unchanged.
std::string sqlName(const std::string& name);

// A name with "." or "!" separated parts, each written as sqlName does:
// "Orders.Ship Date" -> "Orders.[Ship Date]". Brackets already present are
// kept, and separators inside them are not split on.
std::string sqlQualifiedName(const std::string& name);

// A parameter's name in the PARAMETERS clause. Jet stores what the user typed
// (with or without brackets); it writes a form reference with every part
// bracketed ("[Forms]![Sales Dialog]![Start]") and any other name that is not
// a plain word bracketed as a whole.
std::string sqlParameterName(const std::string& name);

// Splits at "." and "!" outside brackets; the separators are returned as
// their own one-character items.
std::vector<std::string> splitQualifiedName(const std::string& name);

}  // namespace ql::dao
