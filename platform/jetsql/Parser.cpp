// A recursive-descent parser: Jet's grammar is small and its quirks (names
// in brackets with any character, "[SELECT ...]." derived tables, joins
// nested the way Access nests them, a union half that ends in its own ORDER
// BY and ";") are easier to follow written out than in a grammar file.
// Operator precedence is VBA's, which Jet's expression service shares.
#include "platform/jetsql/Parser.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <optional>
#include <strings.h>

#include "platform/jetsql/Tokens.h"

namespace ql::jetsql {

namespace {

// Words that end an expression or a name list rather than name a column.
constexpr std::array kReservedWords = {
    "SELECT", "FROM", "WHERE", "GROUP", "BY", "HAVING", "ORDER", "UNION", "AS", "ON", "JOIN", "INNER", "LEFT",
    "RIGHT", "OUTER", "AND", "OR", "NOT", "XOR", "EQV", "IMP", "MOD", "LIKE", "IS", "BETWEEN", "IN", "EXISTS",
    "DISTINCT", "DISTINCTROW", "TOP", "PERCENT", "ALL", "ASC", "DESC", "TRANSFORM", "PIVOT", "PARAMETERS",
    "WITH", "OWNERACCESS", "OPTION", "INTO", "NULL"};

bool isReserved(const Token& t) {
    if (t.kind != Token::Kind::Word) return false;
    for (const char* word : kReservedWords)
        if (t.isWord(word)) return true;
    return false;
}

// Deeper than this, a statement is refused as Jet refuses one too complex:
// both the parser and the evaluator walk the tree by recursion.
constexpr std::size_t kMaxHeight = 400;
constexpr int kMaxNesting = 120;

std::shared_ptr<Expr> node(Expr::Kind kind, std::size_t begin) {
    auto e = std::make_shared<Expr>();
    e->kind = kind;
    e->begin = begin;
    return e;
}

class Parser {
public:
    explicit Parser(const std::string& text) : text_(text), tokens_(tokenize(text)) {}

    Query statement() {
        Query query;
        query.text = text_;
        if (word("PARAMETERS")) query.parameters = parameters();
        if (word("TRANSFORM")) {
            query.kind = Query::Kind::Crosstab;
            query.transform = expression();
            if (word("AS")) query.transformAlias = expectName("an alias");
            query.selects.push_back(select(query));
            expectWord("PIVOT");
            // Below the comparisons: an IN after the heading lists the headings.
            query.pivot = concatenation();
            if (word("IN")) query.pivotIn = parenthesizedList();
        } else {
            query.selects.push_back(select(query));
            while (word("UNION")) {
                query.kind = Query::Kind::Union;
                query.unionAll.push_back(word("ALL"));
                query.selects.push_back(select(query));
            }
        }
        if (word("WITH")) {
            expectWord("OWNERACCESS");
            expectWord("OPTION");
            query.ownerAccess = true;
        }
        while (symbol(';')) {
        }
        if (!atEnd()) fail("text after the end of the statement");
        return query;
    }

    ExprPtr lone() {
        ExprPtr e = expression();
        if (!atEnd()) fail("text after the end of the expression");
        return e;
    }

private:
    // ---- tokens ---------------------------------------------------------

    bool atEnd() const { return at_ >= tokens_.size(); }
    const Token* peek(std::size_t ahead = 0) const {
        return at_ + ahead < tokens_.size() ? &tokens_[at_ + ahead] : nullptr;
    }
    std::size_t offset() const { return atEnd() ? text_.size() : tokens_[at_].begin; }
    std::size_t lastEnd() const { return at_ > 0 ? tokens_[at_ - 1].end : 0; }

    [[noreturn]] void fail(const std::string& what) const {
        const Token* t = peek();
        throw SyntaxError("Syntax error: " + what + (t ? " at '" + t->text + "'" : " at the end"), offset());
    }

    // A composite node is complete: its height, and the limit on it.
    std::shared_ptr<Expr> finish(std::shared_ptr<Expr> e) const {
        for (const auto& arg : e->args) e->height = std::max(e->height, arg->height + 1);
        if (e->height > kMaxHeight) throw SyntaxError("Query is too complex.", e->begin);
        return e;
    }

    // Counts how deep the parser has gone into parentheses and sub-queries.
    class Nesting {
    public:
        explicit Nesting(const Parser& p) : p_(p) {
            if (++p_.nesting_ > kMaxNesting) throw SyntaxError("Query is too complex.", p_.offset());
        }
        ~Nesting() { --p_.nesting_; }
        Nesting(const Nesting&) = delete;
        Nesting& operator=(const Nesting&) = delete;

    private:
        const Parser& p_;
    };

    bool isWordAt(std::size_t ahead, const char* w) const {
        const Token* t = peek(ahead);
        return t && t->isWord(w);
    }
    bool word(const char* w) {
        if (!isWordAt(0, w)) return false;
        ++at_;
        return true;
    }
    void expectWord(const char* w) {
        if (!word(w)) fail(std::string("expected ") + w);
    }
    bool isSymbolAt(std::size_t ahead, char c) const {
        const Token* t = peek(ahead);
        return t && t->isSymbol(c);
    }
    bool symbol(char c) {
        if (!isSymbolAt(0, c)) return false;
        ++at_;
        return true;
    }
    void expectSymbol(char c) {
        if (!symbol(c)) fail(std::string("expected '") + c + "'");
    }
    // Two one-character symbols written together: "<>", "<=", ">=".
    bool adjacentSymbols(char first, char second) const {
        return isSymbolAt(0, first) && isSymbolAt(1, second) && tokens_[at_].end == tokens_[at_ + 1].begin;
    }

    // A name as a word or in brackets; nullopt (nothing taken) otherwise.
    std::optional<std::string> name() {
        const Token* t = peek();
        if (!t || !(t->kind == Token::Kind::Name || (t->kind == Token::Kind::Word && !isReserved(*t))))
            return std::nullopt;
        ++at_;
        return t->text;
    }
    std::string expectName(const char* what) {
        auto n = name();
        if (!n) fail(std::string("expected ") + what);
        return *n;
    }

    // ---- statements -----------------------------------------------------

    std::vector<Parameter> parameters() {
        std::vector<Parameter> out;
        do {
            Parameter p;
            p.name = expectName("a parameter name");
            // The type runs to the next comma or ";" outside parentheses.
            const std::size_t begin = offset();
            int depth = 0;
            while (!atEnd() && !(depth == 0 && (isSymbolAt(0, ',') || isSymbolAt(0, ';')))) {
                if (isSymbolAt(0, '(')) ++depth;
                if (isSymbolAt(0, ')')) --depth;
                ++at_;
            }
            p.type = text_.substr(begin, lastEnd() > begin ? lastEnd() - begin : 0);
            out.push_back(std::move(p));
        } while (symbol(','));
        expectSymbol(';');
        return out;
    }

    Select select(Query& query) {
        Select s;
        expectWord("SELECT");
        if (word("DISTINCTROW")) s.predicate = Select::Predicate::DistinctRow;
        else if (word("DISTINCT")) s.predicate = Select::Predicate::Distinct;
        else word("ALL");
        if (word("TOP")) {
            const Token* n = peek();
            if (!n || n->kind != Token::Kind::Number) fail("expected the number of TOP");
            s.top = n->text;
            ++at_;
            s.topPercent = word("PERCENT");
        }
        if (!atEnd() && !isSymbolAt(0, ';') && !isWordAt(0, "FROM")) {
            do s.items.push_back(selectItem());
            while (symbol(','));
        }
        if (word("INTO")) s.into = expectName("a table name");
        if (word("FROM")) {
            do s.from.push_back(source());
            while (symbol(','));
        }
        if (word("WHERE")) s.where = expression();
        if (word("GROUP")) {
            expectWord("BY");
            do s.groupBy.push_back(expression());
            while (symbol(','));
        }
        if (word("HAVING")) s.having = expression();
        if (word("ORDER")) {
            expectWord("BY");
            // Of the statement: a union half may carry one of its own, which
            // the whole statement's (written after the last half) replaces.
            query.orderBy.clear();
            do {
                OrderItem item;
                item.value = expression();
                if (word("DESC")) item.descending = true;
                else word("ASC");
                query.orderBy.push_back(std::move(item));
            } while (symbol(','));
        }
        // A half saved as "SELECT ...;" before UNION.
        if (isSymbolAt(0, ';') && isWordAt(1, "UNION")) ++at_;
        return s;
    }

    SelectItem selectItem() {
        SelectItem item;
        if (symbol('*')) {
            item.kind = SelectItem::Kind::AllColumns;
            return item;
        }
        // source.* : a name, a dot, a star.
        const Token* first = peek();
        if (first && (first->kind == Token::Kind::Name || (first->kind == Token::Kind::Word && !isReserved(*first))) &&
            isSymbolAt(1, '.') && isSymbolAt(2, '*')) {
            item.kind = SelectItem::Kind::AllOf;
            item.source = first->text;
            at_ += 3;
            return item;
        }
        item.value = expression();
        if (word("AS")) item.alias = expectName("an alias");
        return item;
    }

    SourcePtr source() {
        SourcePtr left = sourcePrimary();
        for (;;) {
            Source::JoinType type;
            if (word("INNER")) type = Source::JoinType::Inner;
            else if (word("LEFT")) type = Source::JoinType::Left;
            else if (word("RIGHT")) type = Source::JoinType::Right;
            else break;
            word("OUTER");
            expectWord("JOIN");
            auto join = std::make_shared<Source>();
            join->kind = Source::Kind::Join;
            join->join = type;
            join->left = left;
            join->right = sourcePrimary();
            expectWord("ON");
            join->on = expression();
            left = join;
        }
        return left;
    }

    SourcePtr sourcePrimary() {
        auto s = std::make_shared<Source>();
        if (isSymbolAt(0, '(')) {
            if (isWordAt(1, "SELECT")) {
                ++at_;
                s->kind = Source::Kind::Derived;
                s->query = subquery();
                expectSymbol(')');
            } else {
                ++at_;
                const Nesting nesting(*this);
                SourcePtr inner = source();
                expectSymbol(')');
                return inner;
            }
        } else if (const Token* t = peek(); t && t->kind == Token::Kind::Name && isSymbolAt(1, '.') &&
                                            startsWithSelect(t->text)) {
            // Access's own form of a derived table: [SELECT ...]. AS x
            s->kind = Source::Kind::Derived;
            s->query = std::make_shared<Query>(Parser(t->text).statement());
            at_ += 2;
        } else {
            s->name = expectName("a table or query name");
            if (word("IN")) {
                const Token* path = peek();
                if (!path || (path->kind != Token::Kind::String && path->kind != Token::Kind::Name))
                    fail("expected the database of IN");
                s->database = path->text;
                ++at_;
                // IN '' [ODBC;...]: the connect string follows the empty path.
                if (const Token* connect = peek(); connect && connect->kind == Token::Kind::Name) {
                    s->database = connect->text;
                    ++at_;
                }
            }
        }
        if (word("AS")) s->alias = expectName("an alias");
        else if (auto alias = name()) s->alias = alias;
        return s;
    }

    static bool startsWithSelect(const std::string& text) {
        const std::size_t first = text.find_first_not_of(" \t\r\n");
        return first != std::string::npos && strncasecmp(text.c_str() + first, "select", 6) == 0;
    }

    // A statement inside parentheses, up to (not including) the ")".
    std::shared_ptr<const Query> subquery() {
        const Nesting nesting(*this);
        auto query = std::make_shared<Query>();
        query->text = text_;
        query->selects.push_back(select(*query));
        while (word("UNION")) {
            query->kind = Query::Kind::Union;
            query->unionAll.push_back(word("ALL"));
            query->selects.push_back(select(*query));
        }
        return query;
    }

    std::vector<ExprPtr> parenthesizedList() {
        expectSymbol('(');
        std::vector<ExprPtr> items;
        if (!isSymbolAt(0, ')')) {
            do items.push_back(expression());
            while (symbol(','));
        }
        expectSymbol(')');
        return items;
    }

    // ---- expressions, loosest first -------------------------------------

    ExprPtr expression() { return binaryLevel(0); }

    // The logical operators, loosest first; NOT and the comparisons sit
    // between AND and concatenation.
    ExprPtr binaryLevel(int level) {
        static constexpr std::array<const char*, 5> kLogical = {"IMP", "EQV", "XOR", "OR", "AND"};
        if (level == static_cast<int>(kLogical.size())) return notLevel();
        ExprPtr left = binaryLevel(level + 1);
        while (isWordAt(0, kLogical[static_cast<std::size_t>(level)])) {
            ++at_;
            left = binary(kLogical[static_cast<std::size_t>(level)], left, binaryLevel(level + 1));
        }
        return left;
    }

    ExprPtr binary(const std::string& op, ExprPtr left, ExprPtr right) {
        auto e = node(Expr::Kind::Binary, left->begin);
        e->op = op;
        e->end = right->end;
        e->args = {std::move(left), std::move(right)};
        return finish(e);
    }

    ExprPtr notLevel() {
        if (isWordAt(0, "NOT")) {
            auto e = node(Expr::Kind::Unary, offset());
            ++at_;
            e->op = "NOT";
            const Nesting nesting(*this);
            e->args = {notLevel()};
            e->end = e->args[0]->end;
            return finish(e);
        }
        return comparison();
    }

    ExprPtr comparison() {
        ExprPtr left = concatenation();
        for (;;) {
            std::string op;
            if (adjacentSymbols('<', '>')) op = "<>";
            else if (adjacentSymbols('<', '=')) op = "<=";
            else if (adjacentSymbols('>', '=')) op = ">=";
            if (!op.empty()) {
                at_ += 2;
                left = binary(op, left, concatenation());
                continue;
            }
            if (isSymbolAt(0, '=') || isSymbolAt(0, '<') || isSymbolAt(0, '>')) {
                op = peek()->text;
                ++at_;
                left = binary(op, left, concatenation());
                continue;
            }
            const bool negated = isWordAt(0, "NOT") &&
                                 (isWordAt(1, "LIKE") || isWordAt(1, "BETWEEN") || isWordAt(1, "IN"));
            if (negated) ++at_;
            if (word("LIKE")) {
                left = withArgs(Expr::Kind::Like, left, {concatenation()}, negated);
            } else if (word("BETWEEN")) {
                ExprPtr low = concatenation();
                expectWord("AND");
                left = withArgs(Expr::Kind::Between, left, {low, concatenation()}, negated);
            } else if (word("IN")) {
                if (isSymbolAt(0, '(') && isWordAt(1, "SELECT")) {
                    ++at_;
                    auto e = node(Expr::Kind::InQuery, left->begin);
                    e->args = {left};
                    e->query = subquery();
                    expectSymbol(')');
                    e->negated = negated;
                    e->end = lastEnd();
                    left = finish(e);
                } else {
                    left = withArgs(Expr::Kind::InList, left, parenthesizedList(), negated);
                }
            } else if (word("IS")) {
                const bool isNot = word("NOT");
                expectWord("NULL");
                left = withArgs(Expr::Kind::IsNull, left, {}, isNot);
            } else {
                return left;
            }
        }
    }

    ExprPtr withArgs(Expr::Kind kind, ExprPtr first, std::vector<ExprPtr> rest, bool negated) {
        auto e = node(kind, first->begin);
        e->args.push_back(std::move(first));
        for (auto& r : rest) e->args.push_back(std::move(r));
        e->negated = negated;
        e->end = lastEnd();
        return finish(e);
    }

    // The arithmetic operators, loosest first: "&", "+"/"-", MOD, "\\",
    // "*"/"/"; then the signs and "^".
    static constexpr std::array<std::array<const char*, 2>, 5> kArithmetic = {
        {{"&", nullptr}, {"+", "-"}, {"MOD", nullptr}, {"\\", nullptr}, {"*", "/"}}};

    std::optional<std::string> arithmeticOperator(std::size_t level) const {
        for (const char* op : kArithmetic[level]) {
            if (!op) continue;
            const bool here = op[1] == '\0' && !std::isalpha(static_cast<unsigned char>(op[0])) ? isSymbolAt(0, op[0])
                                                                                               : isWordAt(0, op);
            // "&H" starts a hexadecimal number, not a concatenation.
            if (here && !(op[0] == '&' && hexAhead())) return std::string(op);
        }
        return std::nullopt;
    }

    ExprPtr arithmetic(std::size_t level) {
        if (level == kArithmetic.size()) return unary();
        ExprPtr left = arithmetic(level + 1);
        while (const auto op = arithmeticOperator(level)) {
            ++at_;
            left = binary(*op, left, arithmetic(level + 1));
        }
        return left;
    }
    ExprPtr concatenation() { return arithmetic(0); }

    ExprPtr unary() {
        if (isSymbolAt(0, '-') || isSymbolAt(0, '+')) {
            auto e = node(Expr::Kind::Unary, offset());
            e->op = peek()->text;
            ++at_;
            const Nesting nesting(*this);
            e->args = {unary()};
            e->end = e->args[0]->end;
            return finish(e);
        }
        return power();
    }
    ExprPtr power() {
        ExprPtr left = primary();
        while (symbol('^')) left = binary("^", left, unaryOperand());
        return left;
    }
    // The exponent may carry its own sign: 2^-1.
    ExprPtr unaryOperand() {
        if (isSymbolAt(0, '-') || isSymbolAt(0, '+')) return unary();
        return primary();
    }

    bool hexAhead() const {
        const Token* w = peek(1);
        return w && w->kind == Token::Kind::Word && tokens_[at_].end == w->begin &&
               (w->text[0] == 'H' || w->text[0] == 'h' || w->text[0] == 'O' || w->text[0] == 'o');
    }

    ExprPtr primary() {
        const Token* t = peek();
        if (!t) fail("expected an expression");
        const std::size_t begin = t->begin;
        auto literal = [&](Expr::Kind kind, std::string text) {
            auto e = node(kind, begin);
            e->text = std::move(text);
            ++at_;
            e->end = lastEnd();
            return e;
        };
        switch (t->kind) {
        case Token::Kind::Number: return literal(Expr::Kind::Number, t->text);
        case Token::Kind::String: return literal(Expr::Kind::String, t->text);
        case Token::Kind::Date: return literal(Expr::Kind::Date, t->text.substr(1, t->text.size() >= 2 ? t->text.size() - 2 : 0));
        default: break;
        }
        if (t->isSymbol('&') && hexAhead()) {
            auto e = node(Expr::Kind::Number, begin);
            e->text = "&" + peek(1)->text;
            at_ += 2;
            e->end = lastEnd();
            return e;
        }
        if (t->isSymbol('(')) {
            if (isWordAt(1, "SELECT")) {
                ++at_;
                auto e = node(Expr::Kind::Subquery, begin);
                e->query = subquery();
                expectSymbol(')');
                e->end = lastEnd();
                return e;
            }
            ++at_;
            const Nesting nesting(*this);
            // The parentheses belong to the expression's text.
            auto inner = std::make_shared<Expr>(*expression());
            expectSymbol(')');
            inner->begin = begin;
            inner->end = lastEnd();
            return inner;
        }
        if (t->isWord("NULL")) return literal(Expr::Kind::Null, t->text);
        // Yes/No columns are compared with these words as well as True/False.
        if (t->isWord("TRUE") || t->isWord("FALSE") || t->isWord("YES") || t->isWord("NO") || t->isWord("OFF"))
            return literal(Expr::Kind::Boolean, t->text);
        if (t->isWord("EXISTS")) {
            ++at_;
            expectSymbol('(');
            auto e = node(Expr::Kind::Exists, begin);
            e->query = subquery();
            expectSymbol(')');
            e->end = lastEnd();
            return e;
        }
        // Left and Right are functions as well as joins.
        if (t->kind == Token::Kind::Word && (!isReserved(*t) || t->isWord("LEFT") || t->isWord("RIGHT")) &&
            isSymbolAt(1, '('))
            return call();
        if (t->isSymbol('*')) return literal(Expr::Kind::Star, "*");
        return nameExpression();
    }

    ExprPtr call() {
        const Nesting nesting(*this);
        auto e = node(Expr::Kind::Call, offset());
        e->op = peek()->text;
        ++at_;
        expectSymbol('(');
        if (!isSymbolAt(0, ')')) {
            // DISTINCT inside an aggregate is not Jet SQL; it fails here.
            do {
                if (isSymbolAt(0, '*') && (isSymbolAt(1, ')') || isSymbolAt(1, ','))) {
                    auto star = node(Expr::Kind::Star, offset());
                    ++at_;
                    star->end = lastEnd();
                    e->args.push_back(star);
                } else {
                    e->args.push_back(expression());
                }
            } while (symbol(','));
        }
        expectSymbol(')');
        e->end = lastEnd();
        return finish(e);
    }

    ExprPtr nameExpression() {
        auto e = node(Expr::Kind::Name, offset());
        e->parts.push_back(expectName("an expression"));
        while ((isSymbolAt(0, '.') || isSymbolAt(0, '!')) && peek(1) &&
               (peek(1)->kind == Token::Kind::Name || peek(1)->kind == Token::Kind::Word)) {
            e->separators += peek()->text;
            e->parts.push_back(peek(1)->text);
            at_ += 2;
        }
        e->end = lastEnd();
        return e;
    }

    const std::string& text_;
    std::vector<Token> tokens_;
    std::size_t at_ = 0;
    mutable int nesting_ = 0;
};

}  // namespace

Query parseQuery(const std::string& sql) { return Parser(sql).statement(); }

ExprPtr parseExpression(const std::string& text) { return Parser(text).lone(); }

}  // namespace ql::jetsql
