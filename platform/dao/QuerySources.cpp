// The FROM list of a rebuilt query. Sources come from the Source rows in
// their order; each Join row then takes the two sources (or earlier joins)
// that hold its left and right names out of the list and puts the joined
// pair at its end. That is how Access nests joins and why un-joined sources
// stand first: "FROM Table3, Table1 INNER JOIN Table2 ON ...".
#include <algorithm>
#include <memory>

#include "platform/dao/QueryClauses.h"
#include "platform/dao/SqlNames.h"
#include "platform/text/Names.h"

namespace ql::dao::sql {

namespace {

using text::sameName;

const char* joinWord(int type) {
    switch (type) {
    case 2: return " LEFT JOIN ";
    case 3: return " RIGHT JOIN ";
    default: return " INNER JOIN ";  // 1, and whatever a damaged row holds
    }
}

struct FromItem {
    // A plain source
    std::string key;   // the name other rows use for it: alias, else table name
    std::string text;  // as written in FROM
    // A join
    std::shared_ptr<FromItem> left, right;
    int joinType = 1;
    std::vector<std::string> conditions;  // latest first

    bool isJoin() const { return left != nullptr; }

    bool contains(const std::string& name) const {
        if (isJoin()) return left->contains(name) || right->contains(name);
        return sameName(key, name);
    }

    void render(std::string& out, bool topLevel) const {
        if (!isJoin()) {
            out += text;
            return;
        }
        if (!topLevel) out += "(";
        left->render(out, false);
        out += joinWord(joinType);
        right->render(out, false);
        out += " ON ";
        if (conditions.size() > 1) out += "(" + joinTexts(conditions, ") AND (") + ")";
        else if (!conditions.empty()) out += conditions.front();
        if (!topLevel) out += ")";
    }
};

std::shared_ptr<FromItem> plainSource(const QueryRow& row) {
    auto item = std::make_shared<FromItem>();
    if (row.expression) item->text = "[" + *row.expression + "].";  // a derived table: "[SELECT ...]. AS x"
    if (row.name1) item->text += sqlName(*row.name1);
    if (row.name2 && !row.name2->empty()) item->text += " AS " + sqlName(*row.name2);
    item->key = row.name2 && !row.name2->empty() ? *row.name2 : row.name1.value_or("");
    return item;
}

std::shared_ptr<FromItem> namedSource(const std::string& name) {
    auto item = std::make_shared<FromItem>();
    item->key = name;
    item->text = sqlName(name);
    return item;
}

void addJoin(std::vector<std::shared_ptr<FromItem>>& items, const QueryRow& join) {
    const std::string leftName = join.name1.value_or("");
    const std::string rightName = join.name2.value_or("");
    const int type = join.flag.value_or(1);
    const std::string condition = join.expression.value_or("");

    std::shared_ptr<FromItem> left, right;
    for (auto it = items.begin(); it != items.end() && (!left || !right);) {
        if (!left && (*it)->contains(leftName)) {
            left = *it;
            if (!right && (*it)->contains(rightName)) {
                right = *it;  // both names already joined: one more condition
                break;
            }
            it = items.erase(it);
        } else if (!right && (*it)->contains(rightName)) {
            right = *it;
            it = items.erase(it);
        } else {
            ++it;
        }
    }
    // A join may name a source that has no Source row of its own.
    if (!left) left = namedSource(leftName);
    if (!right) right = namedSource(rightName);

    if (left == right) {
        if (left->isJoin()) {
            // Access lists the conditions of one pair latest first.
            left->conditions.insert(left->conditions.begin(), condition);
            return;
        }
        right = namedSource(rightName);  // a source joined to itself by name
        items.erase(std::remove(items.begin(), items.end(), left), items.end());
    }

    auto joined = std::make_shared<FromItem>();
    joined->left = left;
    joined->right = right;
    joined->joinType = type;
    joined->conditions.push_back(condition);
    items.push_back(joined);
}

}  // namespace

std::string sourceList(const QueryRowSet& rows) {
    std::vector<std::shared_ptr<FromItem>> items;
    for (const QueryRow* row : rows.all(query_attribute::Source)) items.push_back(plainSource(*row));
    for (const QueryRow* row : rows.all(query_attribute::Join)) addJoin(items, *row);

    std::vector<std::string> texts;
    for (const auto& item : items) {
        std::string text;
        item->render(text, true);
        texts.push_back(std::move(text));
    }
    std::string result = joinTexts(texts, ", ");
    if (result.empty()) return result;
    if (const QueryRow* database = rows.first(query_attribute::SourceDatabase))
        result += inDatabase(database->name1, database->expression);
    return result;
}

}  // namespace ql::dao::sql
