#include "platform/dao/QueryRows.h"

#include <algorithm>

namespace ql::dao {

int daoQueryType(QueryKind kind) {
    switch (kind) {
    case QueryKind::Select: return 0;
    case QueryKind::Crosstab: return 16;
    case QueryKind::Delete: return 32;
    case QueryKind::Update: return 48;
    case QueryKind::Append: return 64;
    case QueryKind::MakeTable: return 80;
    case QueryKind::DataDefinition: return 96;
    case QueryKind::PassThrough: return 112;
    case QueryKind::Union: return 128;
    }
    return 0;
}

namespace {

std::optional<QueryKind> kindFromStoredCode(int code) {
    if (code >= static_cast<int>(QueryKind::Select) && code <= static_cast<int>(QueryKind::Union))
        return static_cast<QueryKind>(code);
    return std::nullopt;
}

std::optional<QueryKind> kindFromCatalogueType(int type) {
    for (int code = 1; code <= 9; ++code) {
        const auto kind = static_cast<QueryKind>(code);
        if (daoQueryType(kind) == type) return kind;
    }
    return std::nullopt;
}

}  // namespace

QueryKind queryKind(std::span<const QueryRow> rows, int catalogueType) {
    for (const QueryRow& row : rows) {
        if (row.attribute != query_attribute::Kind || !row.flag) continue;
        if (const auto kind = kindFromStoredCode(*row.flag)) return *kind;
    }
    if (const auto kind = kindFromCatalogueType(catalogueType)) return *kind;
    return QueryKind::Select;
}

QueryRowSet::QueryRowSet(std::span<const QueryRow> rows) {
    sorted_.reserve(rows.size());
    for (const QueryRow& row : rows) sorted_.push_back(&row);
    std::stable_sort(sorted_.begin(), sorted_.end(), [](const QueryRow* a, const QueryRow* b) {
        if (a->attribute != b->attribute) return a->attribute < b->attribute;
        return std::lexicographical_compare(a->order.begin(), a->order.end(), b->order.begin(), b->order.end());
    });
}

std::vector<const QueryRow*> QueryRowSet::all(int attribute) const {
    std::vector<const QueryRow*> result;
    for (const QueryRow* row : sorted_)
        if (row->attribute == attribute) result.push_back(row);
    return result;
}

const QueryRow* QueryRowSet::first(int attribute) const {
    for (const QueryRow* row : sorted_)
        if (row->attribute == attribute) return row;
    return nullptr;
}

int QueryRowSet::options() const {
    const QueryRow* row = first(query_attribute::Options);
    return row && row->flag ? *row->flag : 0;
}

}  // namespace ql::dao
