#pragma once
// Reads a select, union or crosstab statement in Jet's SQL, as Access saves
// it and as a user types it, into a tree (Syntax.h). Action and
// data-definition statements are not read here.
#include <cstddef>
#include <stdexcept>
#include <string>

#include "platform/jetsql/Syntax.h"

namespace ql::jetsql {

// The statement is not one the parser reads: a syntax error, or a kind of
// statement it does not take. `offset` is where in the text it stopped.
class SyntaxError : public std::runtime_error {
public:
    SyntaxError(const std::string& message, std::size_t offset)
        : std::runtime_error(message), offset_(offset) {}
    std::size_t offset() const { return offset_; }

private:
    std::size_t offset_;
};

Query parseQuery(const std::string& sql);
// One expression on its own (a validation rule, a PIVOT heading).
ExprPtr parseExpression(const std::string& text);

}  // namespace ql::jetsql
