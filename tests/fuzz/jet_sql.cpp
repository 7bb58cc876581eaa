// Jet SQL text through the parser, and every expression of what parses
// through the evaluator, with names that read as a number, a text, a date
// or Null. Only our own errors (syntax, Jet's run-time errors) may come out.
#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/jetsql/Parser.h"
#include "platform/jetsql/Run.h"

namespace {

using namespace ql::jetsql;

class Names : public Scope {
public:
    Variant value(const Expr& name) const override {
        switch (name.parts.back().size() % 4) {
        case 0: return std::int32_t{42};
        case 1: return std::string("Text");
        case 2: return ql::vb::Date{35431.5};
        default: return ql::vb::Null{};
        }
    }
};

class OneTable : public Tables {
public:
    Table read(const std::string&) const override {
        return {{"a", "b"}, {{std::int32_t{1}, std::string("x")}, {ql::vb::Null{}, std::string("X")}}};
    }
};

void evaluateAll(const ExprPtr& e) {
    if (!e) return;
    try {
        evaluate(*e, Names(), Rules{});
    } catch (const ql::RuntimeError&) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    try {
        const Query query = parseQuery(text);
        for (const Select& select : query.selects) {
            for (const SelectItem& item : select.items) evaluateAll(item.value);
            evaluateAll(select.where);
            evaluateAll(select.having);
        }
        if (query.kind == Query::Kind::Select) {
            try {
                runSelect(query, OneTable(), Rules{});
            } catch (const ql::RuntimeError&) {
            }
        }
        if (query.kind == Query::Kind::Crosstab) {
            try {
                pivotHeadings(query, OneTable(), Rules{});
            } catch (const ql::RuntimeError&) {
            }
        }
    } catch (const SyntaxError&) {
    }
    try {
        evaluateAll(parseExpression(text));
    } catch (const SyntaxError&) {
    }
    return 0;
}
