#pragma once
// Jet SQL's tokens: for the parser, and for the readers of the texts Jet
// keeps as written (a union's halves, derived tables, PIVOT lists) that only
// look for select lists, FROM sources and IN lists.
#include <string>
#include <vector>

namespace ql::jetsql {

struct Token {
    enum class Kind { Word, Name, String, Number, Symbol, Date, Other };
    Kind kind = Kind::Other;
    std::string text;  // Word/Number/Symbol/Date: as written; Name: inside the brackets; String: unquoted
    size_t begin = 0;  // byte offsets in the source text
    size_t end = 0;
    int depth = 0;     // parentheses around the token; "(" and ")" have the depth outside them

    bool isWord(const char* word) const;  // case-insensitive
    bool isSymbol(char c) const { return kind == Kind::Symbol && text.size() == 1 && text[0] == c; }
    bool isName() const { return kind == Kind::Word || kind == Kind::Name; }
};

// Never fails: an unclosed bracket or quote runs to the end of the text.
std::vector<Token> tokenize(const std::string& text);

}  // namespace ql::jetsql
