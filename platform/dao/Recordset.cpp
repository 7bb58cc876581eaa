// Recordsets over the statements the program sends: a select list or "*",
// DISTINCT, count(*) AS name, one table or saved query in FROM, WHERE with
// column = 'text' joined by AND, and ORDER BY. Anything else is refused with
// the error Jet gives for a statement it cannot read, so a new statement in
// the program fails loudly instead of returning rows Jet would not.
#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

#include "platform/dao/DaoState.h"
#include "platform/dao/QueryShape.h"
#include "platform/jetsql/Tokens.h"
#include "platform/text/Names.h"
#include "platform/vb/VbText.h"

namespace ql::dao {

using jetsql::Token;

// ---- the recordset ------------------------------------------------------

namespace {
std::vector<Field> untypedFields(std::vector<std::string> names) {
    std::vector<Field> fields;
    for (auto& name : names) fields.emplace_back(std::move(name), 0, 0);
    return fields;
}
}  // namespace

Recordset::Recordset(std::vector<std::string> names, Rows rows)
    : fields_(untypedFields(std::move(names))), rows_(std::move(rows)) {}

Recordset::Recordset(std::vector<Field> fields, Rows rows) : fields_(std::move(fields)), rows_(std::move(rows)) {}

Recordset::Recordset(std::vector<Field> fields, std::function<Rows()> rows)
    : fields_(std::move(fields)), pending_(std::move(rows)) {}

const Recordset::Rows& Recordset::loaded() const {
    if (pending_) {
        rows_ = pending_();
        pending_ = nullptr;
    }
    return rows_;
}

void Recordset::MoveNext() {
    if (position_ >= loaded().size()) throw daoError(errors::NoCurrentRecord);
    ++position_;
}

const Variant& Recordset::Value(int index) const {
    if (index < 0 || index >= FieldsCount()) throw daoError(errors::ItemNotFound);
    if (position_ >= loaded().size()) throw daoError(errors::NoCurrentRecord);
    return rows_[position_][static_cast<std::size_t>(index)];
}

const Variant& Recordset::Value(const std::string& name) const {
    for (int i = 0; i < FieldsCount(); ++i)
        if (text::sameName(fields_.Item(i).Name(), name)) return Value(i);
    throw daoError(errors::ItemNotFound);
}

const std::string& Recordset::FieldName(int index) const { return fields_.Item(index).Name(); }

namespace {

// ---- the statement ------------------------------------------------------

struct SelectItem {
    bool count = false;      // count(*)
    std::string column;      // otherwise: the column read
    std::string name;        // the field's name in the recordset
};

struct Condition {
    std::string column;
    std::string text;
};

struct OrderKey {
    std::string column;
    bool descending = false;
};

struct Statement {
    bool distinct = false;
    bool star = false;
    std::vector<SelectItem> items;
    std::string source;
    std::vector<Condition> where;
    std::vector<OrderKey> orderBy;
};

class Parser {
public:
    explicit Parser(const std::string& sql) : sql_(sql), tokens_(jetsql::tokenize(sql)) {}

    Statement parse() {
        Statement st;
        if (!word("SELECT")) throw daoError(errors::InvalidStatement);
        if (word("DISTINCT")) st.distinct = true;
        else word("ALL");
        if (symbol('*')) {
            st.star = true;
        } else {
            do st.items.push_back(selectItem());
            while (symbol(','));
        }
        if (!word("FROM")) throw expressionError(at_ > 0 ? at_ - 1 : 0);
        if (at_ >= tokens_.size() || !tokens_[at_].isName() || isKeyword(tokens_[at_]))
            throw daoError(errors::FromClause);
        st.source = tokens_[at_++].text;
        if (at_ < tokens_.size() && !isKeyword(tokens_[at_]) && !tokens_[at_].isSymbol(';'))
            throw daoError(errors::FromClause);
        if (word("WHERE")) {
            const std::size_t start = at_;
            do {
                Condition c;
                if (!name(c.column) || !symbol('=') || at_ >= tokens_.size() ||
                    tokens_[at_].kind != Token::Kind::String)
                    throw expressionError(start);
                c.text = tokens_[at_++].text;
                st.where.push_back(std::move(c));
            } while (word("AND"));
        }
        if (word("ORDER")) {
            const std::size_t start = at_;
            if (!word("BY")) throw expressionError(start);
            do {
                OrderKey key;
                if (!name(key.column)) throw expressionError(start);
                if (word("DESC")) key.descending = true;
                else word("ASC");
                st.orderBy.push_back(std::move(key));
            } while (symbol(','));
        }
        symbol(';');
        if (at_ != tokens_.size()) throw expressionError(at_);
        return st;
    }

private:
    static bool isKeyword(const Token& t) {
        return t.kind == Token::Kind::Word &&
               (t.isWord("WHERE") || t.isWord("ORDER") || t.isWord("FROM") || t.isWord("AND") || t.isWord("BY"));
    }
    bool word(const char* w) {
        if (at_ < tokens_.size() && tokens_[at_].isWord(w)) return ++at_, true;
        return false;
    }
    bool symbol(char c) {
        if (at_ < tokens_.size() && tokens_[at_].isSymbol(c)) return ++at_, true;
        return false;
    }
    // A column, bare or as Table.Column (the table part is the only source).
    bool name(std::string& out) {
        if (at_ >= tokens_.size() || !tokens_[at_].isName() || isKeyword(tokens_[at_])) return false;
        out = tokens_[at_++].text;
        if (at_ + 1 < tokens_.size() && tokens_[at_].isSymbol('.') && tokens_[at_ + 1].isName()) {
            out = tokens_[at_ + 1].text;
            at_ += 2;
        }
        return true;
    }
    SelectItem selectItem() {
        const std::size_t start = at_;
        SelectItem item;
        if (at_ + 3 < tokens_.size() && tokens_[at_].isWord("count") && tokens_[at_ + 1].isSymbol('(') &&
            tokens_[at_ + 2].isSymbol('*') && tokens_[at_ + 3].isSymbol(')')) {
            at_ += 4;
            item.count = true;
            item.name = "Expr1000";
        } else if (name(item.column)) {
            item.name = item.column;
        } else {
            throw expressionError(start);
        }
        if (word("AS")) {
            if (!name(item.name)) throw expressionError(start);
        }
        if (at_ < tokens_.size() && !tokens_[at_].isSymbol(',') && !tokens_[at_].isWord("FROM"))
            throw expressionError(start);
        return item;
    }
    // Jet quotes the expression from the point it could not read to the end
    // of the clause.
    RuntimeError expressionError(std::size_t from) const {
        std::size_t begin = from < tokens_.size() ? tokens_[from].begin : sql_.size();
        std::size_t end = begin;
        for (std::size_t i = from; i < tokens_.size(); ++i) {
            if (i > from && (tokens_[i].isWord("FROM") || tokens_[i].isWord("WHERE") || tokens_[i].isWord("ORDER") ||
                             tokens_[i].isSymbol(';')))
                break;
            end = tokens_[i].end;
        }
        return daoError(errors::QueryExpression, sql_.substr(begin, end - begin));
    }

    const std::string& sql_;
    std::vector<Token> tokens_;
    std::size_t at_ = 0;
};

// ---- the rows -----------------------------------------------------------

// What a source is read for: its rows, its count alone, or its fields alone.
enum class Want { Rows, Count, Fields };

struct Source {
    std::vector<std::string> columns;
    std::vector<Field> fields;               // the columns with DAO's types and sizes
    std::vector<std::vector<Variant>> rows;  // filled when the rows were asked for
    std::optional<std::int64_t> count;       // when only the count was asked for
};

// Jet compares text without regard to case.
int compareValues(const Variant& a, const Variant& b, bool jet3) {
    const bool aNull = std::holds_alternative<Null>(a) || std::holds_alternative<Empty>(a);
    const bool bNull = std::holds_alternative<Null>(b) || std::holds_alternative<Empty>(b);
    if (aNull || bNull) return aNull == bNull ? 0 : (aNull ? -1 : 1);
    auto number = [](const Variant& v) -> std::optional<double> {
        return std::visit(
            [](const auto& x) -> std::optional<double> {
                using T = std::decay_t<decltype(x)>;
                if constexpr (std::is_same_v<T, bool>) return x ? -1.0 : 0.0;
                else if constexpr (std::is_arithmetic_v<T>) return static_cast<double>(x);
                else if constexpr (std::is_same_v<T, Currency>) return static_cast<double>(x.tenThousandths) / 10000.0;
                else if constexpr (std::is_same_v<T, Date>) return x.days;
                else return std::nullopt;
            },
            v);
    };
    if (auto x = number(a), y = number(b); x && y) return *x < *y ? -1 : (*x > *y ? 1 : 0);
    if (auto x = std::get_if<std::string>(&a), y = std::get_if<std::string>(&b); x && y)
        return compareNames(*x, *y, jet3);
    if (auto x = std::get_if<ByteArray>(&a), y = std::get_if<ByteArray>(&b); x && y)
        return *x < *y ? -1 : (*x == *y ? 0 : 1);
    return a.index() < b.index() ? -1 : (a.index() == b.index() ? 0 : 1);
}

bool matches(const Variant& value, const std::string& text, bool jet3) {
    if (const auto* s = std::get_if<std::string>(&value)) return compareNames(*s, text, jet3) == 0;
    if (std::holds_alternative<Null>(value) || std::holds_alternative<ByteArray>(value)) return false;
    return vb::CStr(value) == text;
}

// The fields of a table as its TableDef gives them, so that a recordset's
// types and sizes are those of the table definition.
std::vector<Field> tableFields(const std::shared_ptr<DatabaseState>& db, const std::string& name) {
    const TableDef table(db, name, jet::kObjectLocalTable, 0);
    const auto& fields = table.Fields();
    return std::vector<Field>(fields.begin(), fields.end());
}

// A table of `db`: its fields, and its rows or its count when asked.
Source readTable(const jet::Database& db, const std::string& name, Want want, std::vector<Field> fields) {
    Source source;
    const jet::TableDef table = db.tableDef(name);
    for (const auto& column : table.columns) source.columns.push_back(column.name);
    source.fields = std::move(fields);
    if (want == Want::Fields) return source;
    if (want == Want::Count) {
        source.count = static_cast<std::int64_t>(db.liveRecordCount(table));
        return source;
    }
    jet::TableCursor cursor = db.cursor(table);
    int damaged = 0;
    while (true) {
        try {
            if (!cursor.next()) break;
        } catch (const jet::Error&) {
            // A row that cannot be decoded is left out, as other readers
            // leave it; a table that is nothing but damage is refused.
            if (++damaged > 1000) throw;
            continue;
        }
        std::vector<Variant> row;
        row.reserve(cursor.values().size());
        for (const auto& value : cursor.values()) row.push_back(toVariant(value));
        source.rows.push_back(std::move(row));
    }
    return source;
}

Source readSource(DatabaseState& db, const std::string& name, Want want, int depth);

// A saved query that only picks columns of one table or query; anything
// with joins, criteria or grouping would need the whole engine.
Source readQuery(DatabaseState& db, const jet::CatalogEntry& query, Want want, int depth) {
    const auto& rows = db.rowsOf(query.id);
    const int type = static_cast<int>(query.flags & 0xF0);
    if (queryKind(rows, type) != QueryKind::Select) throw daoError(errors::NotSupported);
    const QueryRowSet set(rows);
    using namespace query_attribute;
    if (!set.all(Join).empty() || !set.all(Where).empty() || !set.all(GroupBy).empty() || !set.all(Having).empty() ||
        !set.all(Parameter).empty() || !set.all(SourceDatabase).empty() || (set.options() & ~query_option::AllFields))
        throw daoError(errors::NotSupported);
    const QueryShape shape = queryShape(rows, type);
    if (shape.inputs.size() != 1 || shape.inputs[0].sql) throw daoError(errors::NotSupported);
    Source input = readSource(db, shape.inputs[0].name, want, depth + 1);
    if (want == Want::Count) return input;
    Source out;
    std::vector<std::size_t> picks;
    for (const auto& output : shape.outputs) {
        if (output.kind == QueryOutput::Kind::AllColumns || output.kind == QueryOutput::Kind::AllOfSource) {
            for (std::size_t i = 0; i < input.columns.size(); ++i) {
                picks.push_back(i);
                out.columns.push_back(input.columns[i]);
                out.fields.push_back(input.fields[i]);
            }
            continue;
        }
        if (output.kind != QueryOutput::Kind::Column) throw daoError(errors::NotSupported);
        std::string column = output.expression;
        if (auto dot = column.rfind("]."); dot != std::string::npos) column = column.substr(dot + 2);
        else if (auto d = column.rfind('.'); d != std::string::npos && column.find('[') == std::string::npos)
            column = column.substr(d + 1);
        if (column.size() >= 2 && column.front() == '[' && column.back() == ']') column = column.substr(1, column.size() - 2);
        std::size_t found = input.columns.size();
        for (std::size_t i = 0; i < input.columns.size(); ++i)
            if (text::sameName(input.columns[i], column)) found = i;
        if (found == input.columns.size()) throw daoError(errors::NotSupported);
        picks.push_back(found);
        out.columns.push_back(output.alias.value_or(column));
        out.fields.emplace_back(out.columns.back(), input.fields[found].Type(), input.fields[found].Size());
    }
    for (auto& row : input.rows) {
        std::vector<Variant> picked;
        for (std::size_t i : picks) picked.push_back(row[i]);
        out.rows.push_back(std::move(picked));
    }
    return out;
}

Source readSource(DatabaseState& db, const std::string& name, Want want, int depth) {
    if (depth > 64) throw daoError(errors::InputMissing, name);
    try {
        if (const auto* table = db.jet.findTable(name)) {
            db.checkRead(*table, false);
            // The TableDef lives only for this call; it must not own the state.
            const std::shared_ptr<DatabaseState> self(&db, [](DatabaseState*) {});
            return readTable(db.jet, table->name, want, tableFields(self, table->name));
        }
        if (const auto* query = db.findQuery(name)) {
            db.checkRead(*query, false);
            return readQuery(db, *query, want, depth);
        }
        for (const auto& entry : db.jet.catalogue()) {
            if (entry.type != jet::kObjectJetLink || !text::sameName(entry.name, name)) continue;
            // A table linked from another Jet file is read from there.
            std::error_code ec;
            if (!std::filesystem::exists(entry.database, ec)) throw daoError(errors::CouldNotFindFile, entry.database);
            auto other = std::make_shared<DatabaseState>(jet::Database::open(entry.database));
            other->name = entry.database;
            other->jet3 = other->jet.header().format == jet::FileFormat::Jet3;
            // The link is read as the linking database's user reads it: the
            // other file's permissions are not consulted.
            other->rights.emplace();
            (*other->rights)[-1] = -1;
            const std::string foreign = entry.foreignName.empty() ? entry.name : entry.foreignName;
            return readTable(other->jet, foreign, want, tableFields(other, foreign));
        }
    } catch (const jet::Error&) {
        throw daoError(errors::CannotOpen, db.name);
    }
    throw daoError(errors::InputMissing, name);
}

}  // namespace

Recordset Database::OpenRecordset(const std::string& sql) const {
    return shielded(*state_, [&]() -> Recordset {
        state_->checkOpen();
        const Statement st = Parser(sql).parse();
        const bool onlyCounts = !st.star && !st.items.empty() &&
                                std::all_of(st.items.begin(), st.items.end(), [](const SelectItem& i) { return i.count; });
        // A plain "*" is often opened for its field list alone: its rows wait
        // until they are first needed.
        const bool deferRows = st.star && st.where.empty() && st.orderBy.empty() && !st.distinct;
        const Want want = onlyCounts && st.where.empty() ? Want::Count : (deferRows ? Want::Fields : Want::Rows);
        Source source = readSource(*state_, st.source, want, 0);
        if (deferRows) {
            return Recordset(std::move(source.fields), [state = state_, name = st.source]() {
                return shielded(*state, [&]() {
                    state->checkOpen();
                    return readSource(*state, name, Want::Rows, 0).rows;
                });
            });
        }

        auto columnIndex = [&](const std::string& column) {
            for (std::size_t i = 0; i < source.columns.size(); ++i)
                if (text::sameName(source.columns[i], column)) return i;
            // Jet takes an unknown name for a parameter it was not given.
            throw RuntimeError(3061, "Too few parameters. Expected 1.");
        };

        if (!source.count) {
            std::vector<std::pair<std::size_t, std::string>> filters;
            for (const auto& c : st.where) filters.emplace_back(columnIndex(c.column), c.text);
            std::erase_if(source.rows, [&](const std::vector<Variant>& row) {
                return !std::all_of(filters.begin(), filters.end(),
                                    [&](const auto& f) { return matches(row[f.first], f.second, state_->jet3); });
            });
        }

        std::vector<Field> fields;
        std::vector<std::vector<Variant>> rows;
        if (onlyCounts) {
            const auto n = static_cast<std::int32_t>(source.count ? *source.count : static_cast<std::int64_t>(source.rows.size()));
            std::vector<Variant> row;
            for (const auto& item : st.items) {
                fields.emplace_back(item.name, field_type::Long, 4);
                row.emplace_back(n);
            }
            rows.push_back(std::move(row));
            return Recordset(std::move(fields), std::move(rows));
        }
        std::vector<std::size_t> picks;
        if (st.star) {
            for (std::size_t i = 0; i < source.columns.size(); ++i) picks.push_back(i);
            fields = source.fields;
        } else {
            for (const auto& item : st.items) {
                if (item.count) throw daoError(errors::QueryExpression, "count(*)");  // needs GROUP BY
                picks.push_back(columnIndex(item.column));
                const Field& from = source.fields.at(picks.back());
                fields.emplace_back(item.name, from.Type(), from.Size());
            }
        }
        std::vector<std::pair<std::size_t, bool>> keys;  // position in the output row, descending
        std::vector<std::size_t> extra;  // ORDER BY columns not in the output
        for (const auto& key : st.orderBy) {
            const std::size_t column = columnIndex(key.column);
            auto it = std::find(picks.begin(), picks.end(), column);
            if (it != picks.end()) {
                keys.emplace_back(static_cast<std::size_t>(it - picks.begin()), key.descending);
            } else {
                keys.emplace_back(picks.size() + extra.size(), key.descending);
                extra.push_back(column);
            }
        }
        for (auto& row : source.rows) {
            std::vector<Variant> out;
            out.reserve(picks.size() + extra.size());
            for (std::size_t i : picks) out.push_back(std::move(row[i]));
            for (std::size_t i : extra) out.push_back(row[i]);
            rows.push_back(std::move(out));
        }
        const bool jet3 = state_->jet3;
        // Jet finds distinct rows by sorting them, so they come out in order.
        if (st.distinct && keys.empty())
            for (std::size_t i = 0; i < picks.size(); ++i) keys.emplace_back(i, false);
        if (!keys.empty()) {
            std::stable_sort(rows.begin(), rows.end(), [&](const auto& a, const auto& b) {
                for (const auto& [i, desc] : keys) {
                    const int c = compareValues(a[i], b[i], jet3);
                    if (c != 0) return desc ? c > 0 : c < 0;
                }
                return false;
            });
        }
        if (st.distinct) {
            auto less = [&](const std::vector<Variant>* a, const std::vector<Variant>* b) {
                for (std::size_t c = 0; c < picks.size(); ++c)
                    if (const int order = compareValues((*a)[c], (*b)[c], jet3); order != 0) return order < 0;
                return false;
            };
            std::set<const std::vector<Variant>*, decltype(less)> seen(less);
            std::vector<bool> keep(rows.size());
            for (std::size_t r = 0; r < rows.size(); ++r) keep[r] = seen.insert(&rows[r]).second;
            std::vector<std::vector<Variant>> unique;
            for (std::size_t r = 0; r < rows.size(); ++r)
                if (keep[r]) unique.push_back(std::move(rows[r]));
            rows = std::move(unique);
        }
        for (auto& row : rows) row.resize(picks.size());
        return Recordset(std::move(fields), std::move(rows));
    });
}

}  // namespace ql::dao
