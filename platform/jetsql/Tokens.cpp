#include "platform/jetsql/Tokens.h"

#include <cctype>
#include <strings.h>

namespace ql::jetsql {

bool Token::isWord(const char* word) const {
    return kind == Kind::Word && strcasecmp(text.c_str(), word) == 0;
}

namespace {

bool isWordByte(unsigned char c) {
    // Bytes of multi-byte UTF-8 characters count as word bytes: names in
    // other scripts are words here, as Jet reads them.
    return std::isalnum(c) || c == '_' || c >= 0x80;
}

}  // namespace

std::vector<Token> tokenize(const std::string& text) {
    std::vector<Token> tokens;
    int depth = 0;
    size_t i = 0;
    while (i < text.size()) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (std::isspace(c)) {
            ++i;
            continue;
        }
        Token token;
        token.begin = i;
        token.depth = depth;
        if (c == '[') {
            // Names hold no brackets, but Access's "[SELECT ...]." derived
            // tables hold bracketed names: the closing bracket is the one
            // that balances.
            size_t close = std::string::npos;
            for (size_t j = i + 1, open = 1; j < text.size(); ++j) {
                if (text[j] == '[') ++open;
                if (text[j] == ']' && --open == 0) {
                    close = j;
                    break;
                }
            }
            const size_t end = close == std::string::npos ? text.size() : close;
            token.kind = Token::Kind::Name;
            token.text = text.substr(i + 1, end - i - 1);
            i = close == std::string::npos ? text.size() : close + 1;
        } else if (c == '"' || c == '\'') {
            token.kind = Token::Kind::String;
            size_t j = i + 1;
            while (j < text.size()) {
                if (text[j] == static_cast<char>(c)) {
                    if (j + 1 < text.size() && text[j + 1] == static_cast<char>(c)) {  // doubled quote
                        token.text += static_cast<char>(c);
                        j += 2;
                        continue;
                    }
                    break;
                }
                token.text += text[j++];
            }
            i = j < text.size() ? j + 1 : text.size();
        } else if (c == '#') {
            const size_t close = text.find('#', i + 1);
            token.kind = Token::Kind::Date;
            i = close == std::string::npos ? text.size() : close + 1;
            token.text = text.substr(token.begin, i - token.begin);
        } else if (std::isdigit(c) || (c == '.' && i + 1 < text.size() && std::isdigit(static_cast<unsigned char>(text[i + 1])))) {
            token.kind = Token::Kind::Number;
            size_t j = i;
            while (j < text.size() && (std::isalnum(static_cast<unsigned char>(text[j])) || text[j] == '.' ||
                                       ((text[j] == '+' || text[j] == '-') && (text[j - 1] == 'E' || text[j - 1] == 'e'))))
                ++j;
            token.text = text.substr(i, j - i);
            i = j;
        } else if (isWordByte(c)) {
            token.kind = Token::Kind::Word;
            size_t j = i;
            while (j < text.size() && isWordByte(static_cast<unsigned char>(text[j]))) ++j;
            token.text = text.substr(i, j - i);
            i = j;
        } else {
            token.kind = Token::Kind::Symbol;
            token.text = std::string(1, static_cast<char>(c));
            ++i;
            if (c == '(') ++depth;
            if (c == ')') {
                depth = depth > 0 ? depth - 1 : 0;
                token.depth = depth;
            }
        }
        token.end = i;
        tokens.push_back(std::move(token));
    }
    return tokens;
}

}  // namespace ql::jetsql
