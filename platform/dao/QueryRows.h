#pragma once
// The stored form of a saved query: its rows of MSysQueries, as plain values,
// so that the SQL text and the query's shape can be rebuilt without the file
// reader in the way.
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace ql::dao {

// One row of MSysQueries. Texts are UTF-8; a column that is Null is empty.
struct QueryRow {
    int attribute = 0;
    std::vector<std::uint8_t> order;  // the Order key (a big-endian counter per attribute); empty when Null
    std::optional<std::string> name1;
    std::optional<std::string> name2;
    std::optional<std::string> expression;
    std::optional<int> flag;
    std::optional<std::int32_t> lvExtra;  // Jet 4 only
};

// What each row of a query says, by its Attribute value.
namespace query_attribute {
inline constexpr int Start = 0;
inline constexpr int Kind = 1;        // Flag = kind; target table, IN database, DDL/pass-through text
inline constexpr int Parameter = 2;   // Name1 = name, Flag = type, LvExtra = text size
inline constexpr int Options = 3;     // Flag = select option bits, Name1 = TOP value
inline constexpr int SourceDatabase = 4;  // FROM ... IN: Name1 = path, Expression = type
inline constexpr int Source = 5;      // Name1 = table or query, Name2 = alias, Expression = derived table
inline constexpr int Column = 6;      // Expression AS Name1; Name2 = target column
inline constexpr int Join = 7;        // Name1 JOIN Name2 ON Expression; Flag = join type
inline constexpr int Where = 8;
inline constexpr int GroupBy = 9;
inline constexpr int Having = 10;
inline constexpr int OrderBy = 11;    // Name1 "D" = descending
inline constexpr int End = 255;
}  // namespace query_attribute

// Bits of the Options row's Flag.
namespace query_option {
inline constexpr int AllFields = 0x01;
inline constexpr int Distinct = 0x02;  // in a union: UNION rather than UNION ALL
inline constexpr int OwnerAccess = 0x04;
inline constexpr int DistinctRow = 0x08;
inline constexpr int Top = 0x10;
inline constexpr int Percent = 0x20;
}  // namespace query_option

// The kind of query as the Kind row's Flag stores it.
enum class QueryKind {
    Select = 1,
    MakeTable = 2,
    Append = 3,
    Update = 4,
    Delete = 5,
    Crosstab = 6,
    DataDefinition = 7,
    PassThrough = 8,
    Union = 9,
};

// DAO's QueryDef.Type for a kind (dbQSelect 0, dbQCrosstab 16 ... dbQSetOperation 128).
int daoQueryType(QueryKind kind);

// The kind of a query: the Kind row's Flag when it names a known kind,
// otherwise the catalogue's type (MSysObjects.Flags & 0xF0, -1 when not
// known), otherwise a select query.
QueryKind queryKind(std::span<const QueryRow> rows, int catalogueType = -1);

// A query's rows ordered as the SQL needs them: by Attribute, then by the
// Order key bytewise; rows with equal keys keep the order they were given in.
// Gives access by attribute.
class QueryRowSet {
public:
    explicit QueryRowSet(std::span<const QueryRow> rows);

    std::vector<const QueryRow*> all(int attribute) const;
    const QueryRow* first(int attribute) const;  // nullptr when there is none
    int options() const;                         // the Options row's Flag, 0 when absent

private:
    std::vector<const QueryRow*> sorted_;
};

}  // namespace ql::dao
