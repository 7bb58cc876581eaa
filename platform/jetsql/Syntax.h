#pragma once
// Jet SQL as a tree: what the parser makes of a select, union or crosstab
// statement, and what the evaluator and the query readers walk. Literals
// keep the text they were written with; turning them into values is the
// evaluator's business, under the database's rules.
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ql::jetsql {

struct Query;

struct Expr {
    enum class Kind {
        Null,       // NULL
        Boolean,    // True, False, Yes, No, Off (text as written)
        Number,     // 12, 1.5, 1E+3, &HFF (text as written)
        String,     // the text between the quotes, doubled quotes undone
        Date,       // the text between the #s
        Name,       // parts: [Orders].[Order Date] is {"Orders", "Order Date"}; `separators` between them
        Unary,      // op: "-", "+", "NOT"; args[0]
        Binary,     // op: "^", "*", "/", "\", "MOD", "+", "-", "&", "=", "<>", "<", ">", "<=", ">=",
                    //     "AND", "OR", "XOR", "EQV", "IMP"; args[0] op args[1]
        Like,       // args[0] LIKE args[1]; `negated` for NOT LIKE
        IsNull,     // args[0] IS NULL; `negated` for IS NOT NULL
        Between,    // args[0] BETWEEN args[1] AND args[2]; `negated`
        InList,     // args[0] IN (args[1..]); `negated`
        InQuery,    // args[0] IN (query); `negated`
        Exists,     // EXISTS (query)
        Subquery,   // (query) used as a value
        Call,       // op: the function's name as written; args
        Star,       // "*" as an argument: Count(*)
    };
    Kind kind = Kind::Null;
    std::string text;                   // literals: as described above
    std::string op;                     // Unary, Binary, Call
    std::vector<std::string> parts;     // Name
    std::string separators;             // Name: '.' or '!' between parts
    std::vector<std::shared_ptr<const Expr>> args;
    std::shared_ptr<const Query> query;  // InQuery, Exists, Subquery
    bool negated = false;
    std::size_t begin = 0, end = 0;     // where it stands in the statement's text
    std::size_t height = 1;             // levels of the tree below and including this node
};
using ExprPtr = std::shared_ptr<const Expr>;

struct SelectItem {
    enum class Kind {
        Value,       // an expression, with its alias when one is given
        AllColumns,  // *
        AllOf,       // source.*
    };
    Kind kind = Kind::Value;
    ExprPtr value;
    std::optional<std::string> alias;
    std::string source;  // AllOf
};

// One source of FROM: a table or saved query, a derived table, or two
// sources joined.
struct Source {
    enum class Kind { Named, Derived, Join };
    enum class JoinType { Inner, Left, Right };
    Kind kind = Kind::Named;
    std::string name;                      // Named
    std::optional<std::string> database;   // Named: IN 'path'
    std::optional<std::string> alias;      // Named, Derived
    std::shared_ptr<const Query> query;    // Derived
    JoinType join = JoinType::Inner;       // Join
    std::shared_ptr<const Source> left, right;
    ExprPtr on;
};
using SourcePtr = std::shared_ptr<const Source>;

struct OrderItem {
    ExprPtr value;
    bool descending = false;
};

struct Select {
    enum class Predicate { All, Distinct, DistinctRow };
    Predicate predicate = Predicate::All;
    std::optional<std::string> top;  // the count as written
    bool topPercent = false;
    std::vector<SelectItem> items;   // empty for "SELECT;", which Access saves and cannot run
    std::optional<std::string> into;
    std::vector<SourcePtr> from;     // the comma-separated sources
    ExprPtr where;
    std::vector<ExprPtr> groupBy;
    ExprPtr having;
};

struct Parameter {
    std::string name;
    std::string type;  // as written: "Text", "Text ( 255 )", "DateTime" ...; empty when none is given
};

struct Query {
    enum class Kind { Select, Union, Crosstab };
    Kind kind = Kind::Select;
    std::string text;                // as parsed; the offsets of its expressions point into it
    std::vector<Parameter> parameters;
    std::vector<Select> selects;     // one, or a union's in order
    std::vector<bool> unionAll;      // between selects[i] and selects[i + 1]
    std::vector<OrderItem> orderBy;  // of the whole statement
    ExprPtr transform;               // Crosstab: the value
    std::optional<std::string> transformAlias;
    ExprPtr pivot;                   // Crosstab: the column heading
    std::optional<std::vector<ExprPtr>> pivotIn;  // Crosstab: fixed headings
    bool ownerAccess = false;        // WITH OWNERACCESS OPTION
};

}  // namespace ql::jetsql
