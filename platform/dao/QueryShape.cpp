#include "platform/dao/QueryShape.h"

#include "platform/jetsql/Tokens.h"
#include "platform/text/Names.h"

namespace ql::dao {

namespace {

using jetsql::Token;
using jetsql::tokenize;

constexpr int CrosstabPivot = 0x01;
constexpr int CrosstabRowHeading = 0x02;
constexpr const char* UnionFirstPart = "X7YZ_____1";
constexpr const char* UnionSecondPart = "X7YZ_____2";

using text::sameName;
using text::trimmed;

std::string textOf(const std::string& sql, const std::vector<Token>& tokens, size_t from, size_t to) {
    if (from >= to) return {};
    return sql.substr(tokens[from].begin, tokens[to - 1].end - tokens[from].begin);
}

// One select-list item or stored column: "*", "T.*", or a column with an
// optional trailing "AS alias".
QueryOutput classify(const std::string& sql, const std::vector<Token>& tokens, size_t from, size_t to,
                     std::optional<std::string> alias) {
    QueryOutput output;
    const size_t count = to - from;
    if (count == 1 && tokens[from].isSymbol('*')) {
        output.kind = QueryOutput::Kind::AllColumns;
        output.expression = "*";
        return output;
    }
    if (count == 3 && tokens[from].isName() && (tokens[from + 1].isSymbol('.') || tokens[from + 1].isSymbol('!')) &&
        tokens[from + 2].isSymbol('*')) {
        output.kind = QueryOutput::Kind::AllOfSource;
        output.source = tokens[from].text;
        output.expression = textOf(sql, tokens, from, to);
        return output;
    }
    if (!alias && count >= 3 && tokens[to - 2].isWord("AS") && tokens[to - 1].isName()) {
        alias = tokens[to - 1].text;
        to -= 2;
    }
    output.expression = textOf(sql, tokens, from, to);
    output.alias = std::move(alias);
    return output;
}

QueryOutput classifyStored(const QueryRow& row) {
    const std::string expression = row.expression.value_or("");
    const auto tokens = tokenize(expression);
    std::optional<std::string> alias;
    if (row.name1 && !row.name1->empty()) alias = row.name1;
    return classify(expression, tokens, 0, tokens.size(), alias);
}

bool isClauseWord(const Token& t) {
    for (const char* word : {"FROM", "INTO", "WHERE", "GROUP", "HAVING", "ORDER", "UNION", "PIVOT", "WITH"})
        if (t.isWord(word)) return true;
    return false;
}

bool endsSourceList(const Token& t, int fromDepth) {
    if (t.depth < fromDepth) return true;
    if (t.depth != fromDepth) return false;
    return t.isSymbol(';') || (isClauseWord(t) && !t.isWord("FROM"));
}

bool isJoinWord(const Token& t) {
    return t.isWord("INNER") || t.isWord("LEFT") || t.isWord("RIGHT") || t.isWord("OUTER") || t.isWord("JOIN");
}

// Past the tokens of a parenthesised subquery starting at `open`.
size_t afterParentheses(const std::vector<Token>& tokens, size_t open) {
    size_t i = open + 1;
    while (i < tokens.size() && !(tokens[i].isSymbol(')') && tokens[i].depth == tokens[open].depth)) ++i;
    return i < tokens.size() ? i + 1 : i;
}

// The sources named after one FROM, with their aliases. Join conditions and
// subqueries are skipped over (a subquery's own FROM is read separately).
void readSources(const std::string& sql, const std::vector<Token>& tokens, size_t i, bool outer, QueryShape& shape) {
    const int fromDepth = tokens[i - 1].depth;
    enum class State { Source, AfterSource, Condition } state = State::Source;
    int conditionDepth = 0;
    QueryInput* last = nullptr;
    auto add = [&](QueryInput input) {
        input.outer = outer;
        shape.inputs.push_back(std::move(input));
        last = &shape.inputs.back();
    };

    while (i < tokens.size() && !endsSourceList(tokens[i], fromDepth)) {
        const Token& t = tokens[i];
        if (state == State::Source) {
            if (t.isSymbol('(')) {
                if (i + 1 < tokens.size() && tokens[i + 1].isWord("SELECT")) {
                    const size_t end = afterParentheses(tokens, i);
                    QueryInput derived;
                    derived.sql = trimmed(textOf(sql, tokens, i + 1, end > i + 1 ? end - 1 : i + 1));
                    add(std::move(derived));
                    state = State::AfterSource;
                    i = end;
                    continue;
                }
            } else if (t.isName()) {
                QueryInput input;
                const bool bracketedSelect =
                    t.kind == Token::Kind::Name && sameName(trimmed(t.text).substr(0, 6), "select");
                if (bracketedSelect && i + 1 < tokens.size() && tokens[i + 1].isSymbol('.')) {
                    input.sql = trimmed(t.text);  // Jet's "[SELECT ...]. AS x"
                    ++i;
                } else {
                    input.name = t.text;
                }
                add(std::move(input));
                state = State::AfterSource;
            }
            ++i;
            continue;
        }
        if (state == State::Condition) {
            if (t.depth <= conditionDepth && isJoinWord(t)) {
                state = State::AfterSource;
                continue;
            }
            if (t.depth <= conditionDepth && t.isSymbol(',')) state = State::Source;
            else if (t.isSymbol(')') && t.depth < conditionDepth) state = State::AfterSource;
            ++i;
            continue;
        }
        // After a source: its alias, an IN database, or what joins it on.
        if (t.isWord("AS") && i + 1 < tokens.size() && tokens[i + 1].isName()) {
            if (last) last->alias = tokens[i + 1].text;
            i += 2;
            continue;
        }
        if (t.isWord("IN") && i + 1 < tokens.size() && tokens[i + 1].kind == Token::Kind::String) {
            shape.sourceDatabase = tokens[i + 1].text;
            i += 2;
            if (i < tokens.size() && tokens[i].kind == Token::Kind::Name) ++i;  // [type]
            continue;
        }
        if (t.isSymbol(',') || t.isWord("JOIN")) state = State::Source;
        else if (t.isWord("ON")) {
            state = State::Condition;
            conditionDepth = t.depth;
        } else if (t.isName() && !isJoinWord(t) && last && !last->alias) {
            last->alias = t.text;  // an alias without AS
        }
        ++i;
    }
}

void readSelectList(const std::string& sql, const std::vector<Token>& tokens, size_t i, QueryShape& shape) {
    const int depth = tokens[i].depth;
    ++i;
    while (i < tokens.size() && (tokens[i].isWord("DISTINCT") || tokens[i].isWord("DISTINCTROW") || tokens[i].isWord("ALL")))
        ++i;
    if (i < tokens.size() && tokens[i].isWord("TOP")) {
        i += 2;
        if (i < tokens.size() && tokens[i].isWord("PERCENT")) ++i;
    }
    size_t start = i;
    for (;; ++i) {
        const bool atEnd = i >= tokens.size() || tokens[i].depth < depth ||
                           (tokens[i].depth == depth && (isClauseWord(tokens[i]) || tokens[i].isSymbol(';')));
        if (atEnd || (tokens[i].depth == depth && tokens[i].isSymbol(','))) {
            if (i > start) shape.outputs.push_back(classify(sql, tokens, start, i, std::nullopt));
            if (atEnd) break;
            start = i + 1;
        }
    }
}

// "expr In (a, b, ...)" at the end of a PIVOT: the fixed column headings.
std::optional<std::vector<std::string>> fixedPivotValues(const std::string& expression) {
    const auto tokens = tokenize(expression);
    if (tokens.size() < 3 || !tokens.back().isSymbol(')') || tokens.back().depth != 0) return std::nullopt;
    size_t open = tokens.size() - 1;
    while (open > 0 && !(tokens[open].isSymbol('(') && tokens[open].depth == 0)) --open;
    if (open == 0 || !tokens[open - 1].isWord("In")) return std::nullopt;
    std::vector<std::string> values;
    size_t start = open + 1;
    for (size_t i = open + 1; i < tokens.size(); ++i) {
        const bool end = i == tokens.size() - 1;
        if (end || (tokens[i].isSymbol(',') && tokens[i].depth == 1)) {
            if (i == start + 1 && tokens[start].kind == Token::Kind::String) values.push_back(tokens[start].text);
            else if (i > start) values.push_back(textOf(expression, tokens, start, i));
            start = i + 1;
        }
    }
    return values;
}

void addStoredSources(const QueryRowSet& rows, QueryShape& shape) {
    for (const QueryRow* row : rows.all(query_attribute::Source)) {
        QueryInput input;
        if (row->expression) input.sql = row->expression;
        else input.name = row->name1.value_or("");
        if (row->name2 && !row->name2->empty()) input.alias = row->name2;
        shape.inputs.push_back(std::move(input));
    }
    if (const QueryRow* database = rows.first(query_attribute::SourceDatabase))
        shape.sourceDatabase = database->name1.value_or("");
}

std::string unionPart(const QueryRowSet& rows, const char* alias) {
    for (const QueryRow* row : rows.all(query_attribute::Source))
        if (row->name2 == alias) return row->expression.value_or("");
    return {};
}

}  // namespace

const QueryInput* QueryShape::inputFor(const std::string& name) const {
    for (const QueryInput& input : inputs)
        if (input.alias ? sameName(*input.alias, name) : sameName(input.name, name)) return &input;
    return nullptr;
}

QueryShape selectTextShape(const std::string& sql) {
    QueryShape shape;
    shape.returnsRows = true;
    const auto tokens = tokenize(sql);
    bool outputsRead = false;
    bool outerSourcesRead = false;
    int selectDepth = -1;
    for (size_t i = 0; i < tokens.size(); ++i) {
        if (!outputsRead && tokens[i].isWord("SELECT")) {
            readSelectList(sql, tokens, i, shape);
            outputsRead = true;
            selectDepth = tokens[i].depth;
        } else if (tokens[i].isWord("TABLE") && i + 1 < tokens.size() && tokens[i + 1].isName()) {
            // "TABLE x" reads all of x.
            if (!outputsRead) {
                QueryOutput all;
                all.kind = QueryOutput::Kind::AllOfSource;
                all.source = tokens[i + 1].text;
                all.expression = textOf(sql, tokens, i, i + 2);
                shape.outputs.push_back(std::move(all));
                outputsRead = true;
            }
            QueryInput input;
            input.name = tokens[i + 1].text;
            input.outer = !outerSourcesRead;
            outerSourcesRead = true;
            shape.inputs.push_back(std::move(input));
        } else if (tokens[i].isWord("UNION") && tokens[i].depth == selectDepth) {
            outerSourcesRead = true;  // a later SELECT's sources are not the first one's
        } else if (tokens[i].isWord("FROM")) {
            const bool outer = !outerSourcesRead && tokens[i].depth == selectDepth;
            outerSourcesRead = outerSourcesRead || outer;
            readSources(sql, tokens, i + 1, outer, shape);
        }
    }
    return shape;
}

QueryShape queryShape(std::span<const QueryRow> rowSpan, int catalogueType) {
    const QueryRowSet rows(rowSpan);
    const QueryKind kind = queryKind(rowSpan, catalogueType);
    QueryShape shape;

    if (kind == QueryKind::Union) {
        shape = selectTextShape(unionPart(rows, UnionFirstPart));
        const QueryShape second = selectTextShape(unionPart(rows, UnionSecondPart));
        for (QueryInput input : second.inputs) {
            input.outer = false;
            shape.inputs.push_back(std::move(input));
        }
        if (!shape.sourceDatabase) shape.sourceDatabase = second.sourceDatabase;
        return shape;
    }

    addStoredSources(rows, shape);
    const auto columns = rows.all(query_attribute::Column);
    if (kind == QueryKind::Select) {
        shape.returnsRows = true;
        for (const QueryRow* row : columns) shape.outputs.push_back(classifyStored(*row));
        if (rows.options() & query_option::AllFields) {
            QueryOutput all;
            all.kind = QueryOutput::Kind::AllColumns;
            all.expression = "*";
            shape.outputs.push_back(std::move(all));
        }
    } else if (kind == QueryKind::Crosstab) {
        shape.returnsRows = true;
        for (const QueryRow* row : columns)
            if (row->flag.value_or(0) & CrosstabRowHeading) shape.outputs.push_back(classifyStored(*row));
        for (const QueryRow* row : columns) {
            if (!(row->flag.value_or(0) & CrosstabPivot)) continue;
            QueryOutput pivot;
            pivot.kind = QueryOutput::Kind::PivotColumns;
            pivot.expression = row->expression.value_or("");
            shape.pivotValues = fixedPivotValues(pivot.expression);
            shape.outputs.push_back(std::move(pivot));
            break;
        }
    }
    return shape;
}

}  // namespace ql::dao
