#include "platform/jetsql/Evaluate.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cmath>
#include <cstdint>
#include <optional>
#include <strings.h>

#include "platform/text/Names.h"
#include "platform/text/Unicode.h"
#include "platform/vb/VbText.h"

namespace ql::jetsql {

namespace errors = evaluation_errors;

RuntimeError evaluationError(int number, const std::string& name) {
    std::string text;
    switch (number) {
    case errors::Overflow: text = "Overflow"; break;
    case errors::DivisionByZero: text = "Division by zero"; break;
    case errors::UndefinedFunction: text = "Undefined function '" + name + "' in expression."; break;
    case errors::AggregateInExpression: text = "Cannot have aggregate function in expression (" + name + ")."; break;
    case errors::AggregateInWhere: text = "Cannot have aggregate function in WHERE clause (" + name + ")."; break;
    case errors::TypeMismatch: text = "Data type mismatch in criteria expression."; break;
    case errors::SubqueryRows: text = "At most one record can be returned by this subquery."; break;
    case errors::UnknownName:
        text = "The Microsoft Jet database engine does not recognize '" + name +
               "' as a valid field name or expression.";
        break;
    default: text = "Reserved error (" + std::to_string(number) + "); there is no message for this error.";
    }
    return RuntimeError(number, text);
}

int compareWithoutCase(const std::string& a, const std::string& b) {
    return text::foldedName(a).compare(text::foldedName(b));
}

namespace {

constexpr double kTenThousand = 10000.0;

bool isNull(const Variant& v) { return std::holds_alternative<vb::Null>(v); }
bool isText(const Variant& v) { return std::holds_alternative<std::string>(v); }
bool isDate(const Variant& v) { return std::holds_alternative<vb::Date>(v); }
bool isWhole(const Variant& v) {
    return std::holds_alternative<bool>(v) || std::holds_alternative<std::uint8_t>(v) ||
           std::holds_alternative<std::int16_t>(v) || std::holds_alternative<std::int32_t>(v);
}

std::int64_t wholeOf(const Variant& v) {
    if (const bool* b = std::get_if<bool>(&v)) return *b ? -1 : 0;
    if (const auto* x = std::get_if<std::uint8_t>(&v)) return *x;
    if (const auto* x = std::get_if<std::int16_t>(&v)) return *x;
    return std::get<std::int32_t>(v);
}

// A number of any kind, or text that reads as one; nullopt otherwise.
std::optional<double> numberOf(const Variant& v) {
    if (isWhole(v)) return static_cast<double>(wholeOf(v));
    if (const auto* c = std::get_if<vb::Currency>(&v)) return static_cast<double>(c->tenThousandths) / kTenThousand;
    if (const auto* f = std::get_if<float>(&v)) return *f;
    if (const auto* d = std::get_if<double>(&v)) return *d;
    if (const auto* d = std::get_if<vb::Date>(&v)) return d->days;
    if (const auto* s = std::get_if<std::string>(&v)) {
        if (!vb::IsNumeric(*s)) return std::nullopt;
        return vb::Val(*s);
    }
    return std::nullopt;
}

double requireNumber(const Variant& v) {
    const auto n = numberOf(v);
    if (!n) throw evaluationError(errors::TypeMismatch);
    return *n;
}

// A whole number of at most `limit` in size, rounded as VB rounds (half to
// even); anything larger, or not a number at all, overflows.
std::int64_t wholeNumber(double d, double limit = 9.2e18) {
    const double rounded = std::nearbyint(d);
    if (!std::isfinite(rounded) || std::fabs(rounded) > limit) throw evaluationError(errors::Overflow);
    return static_cast<std::int64_t>(rounded);
}

vb::Currency currencyOf(double amount) { return vb::Currency{wholeNumber(amount * kTenThousand)}; }

// The narrowest of Integer, Long and Double that holds a whole result.
Variant wholeResult(std::int64_t n) {
    if (n >= INT16_MIN && n <= INT16_MAX) return static_cast<std::int16_t>(n);
    if (n >= INT32_MIN && n <= INT32_MAX) return static_cast<std::int32_t>(n);
    return static_cast<double>(n);
}

std::string textOf(const Variant& v) { return isNull(v) ? std::string() : vb::CStr(v); }

Variant arithmetic(const std::string& op, const Variant& a, const Variant& b) {
    if (isNull(a) || isNull(b)) return vb::Null{};
    if (op == "+" && isText(a) && isText(b)) return std::get<std::string>(a) + std::get<std::string>(b);
    if (op == "/" || op == "^") {
        const double x = requireNumber(a), y = requireNumber(b);
        if (op == "^") return std::pow(x, y);
        if (y == 0) throw evaluationError(errors::DivisionByZero);
        return x / y;
    }
    if (op == "\\" || op == "MOD") {
        const std::int64_t x = wholeNumber(requireNumber(a)), y = wholeNumber(requireNumber(b));
        if (y == 0) throw evaluationError(errors::DivisionByZero);
        return wholeResult(op == "\\" ? x / y : x % y);
    }
    if (isWhole(a) && isWhole(b)) {
        const std::int64_t x = wholeOf(a), y = wholeOf(b);
        return wholeResult(op == "+" ? x + y : op == "-" ? x - y : x * y);
    }
    const double x = requireNumber(a), y = requireNumber(b);
    const double r = op == "+" ? x + y : op == "-" ? x - y : x * y;
    // A date moved by days stays a date; two dates apart are days.
    if ((isDate(a) != isDate(b)) && op != "*") return vb::Date{r};
    const bool money = std::holds_alternative<vb::Currency>(a) || std::holds_alternative<vb::Currency>(b);
    const bool floating = std::holds_alternative<double>(a) || std::holds_alternative<double>(b) ||
                          std::holds_alternative<float>(a) || std::holds_alternative<float>(b) || isText(a) ||
                          isText(b);
    if (money && !floating) return currencyOf(r);
    return r;
}

}  // namespace

std::optional<int> compareValues(const Variant& a, const Variant& b, const Rules& rules) {
    if (isNull(a) || isNull(b)) return std::nullopt;
    if (isText(a) && isText(b)) {
        const int c = rules.compareText ? rules.compareText(std::get<std::string>(a), std::get<std::string>(b))
                                        : compareWithoutCase(std::get<std::string>(a), std::get<std::string>(b));
        return c < 0 ? -1 : c > 0 ? 1 : 0;
    }
    const double x = requireNumber(a), y = requireNumber(b);
    return x < y ? -1 : x > y ? 1 : 0;
}

namespace {

Variant truth(std::optional<bool> value) {
    if (!value) return vb::Null{};
    return *value;
}
std::optional<bool> logical(const Variant& v) {
    if (isNull(v)) return std::nullopt;
    if (const bool* b = std::get_if<bool>(&v)) return *b;
    return requireNumber(v) != 0;
}

// One pattern element at p[pi] against the character c; `next` is where the
// element after it starts. A bracket without its closing one is a literal.
bool matchesOne(const std::u32string& p, std::size_t pi, char32_t c, std::size_t& next) {
    next = pi + 1;
    if (p[pi] == U'?') return true;
    if (p[pi] == U'#') return c >= U'0' && c <= U'9';
    if (p[pi] != U'[') return p[pi] == c;
    const std::size_t close = p.find(U']', pi + 1);
    if (close == std::u32string::npos) return c == U'[';
    next = close + 1;
    std::size_t k = pi + 1;
    const bool negate = k < close && p[k] == U'!';
    if (negate) ++k;
    bool found = false;
    for (; k < close; ++k) {
        if (k + 2 < close && p[k + 1] == U'-') {
            found = found || (c >= p[k] && c <= p[k + 2]);
            k += 2;
        } else {
            found = found || c == p[k];
        }
    }
    return found != negate;
}

// Jet's LIKE over code points, without regard to case: * any run, ? one
// character, # one digit, [abc] [a-z] [!a-z] one of (or none of) a set.
// A star that fails is retried one character further along from the last
// star only, so the time is the product of the lengths, never exponential.
bool like(const std::u32string& s, const std::u32string& p) {
    std::size_t si = 0, pi = 0;
    std::size_t starPattern = std::u32string::npos, starText = 0;
    while (si < s.size()) {
        std::size_t next = 0;
        if (pi < p.size() && p[pi] == U'*') {
            starPattern = ++pi;
            starText = si;
        } else if (pi < p.size() && matchesOne(p, pi, s[si], next)) {
            pi = next;
            ++si;
        } else if (starPattern != std::u32string::npos) {
            pi = starPattern;
            si = ++starText;
        } else {
            return false;
        }
    }
    while (pi < p.size() && p[pi] == U'*') ++pi;
    return pi == p.size();
}

std::u32string foldedCodePoints(const std::string& utf8) {
    std::u32string out;
    for (std::size_t i = 0; i < utf8.size();) out.push_back(text::foldCase(text::nextCodePoint(utf8, i)));
    return out;
}

// ---- dates ---------------------------------------------------------------

// Days from 1899-12-30 to a civil date (proleptic Gregorian).
double daysFromCivil(int y, int m, int d) {
    y -= m <= 2;
    const int era = (y >= 0 ? y : y - 399) / 400;
    const int yoe = y - era * 400;
    const int doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const int doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    const long unixDays = static_cast<long>(era) * 146097 + doe - 719468;
    return static_cast<double>(unixDays + 25569);  // 1970-01-01 is day 25569
}

struct Civil {
    int year, month, day;
};
Civil civilFromDays(double days) {
    // Jet's dates run from the year 100 to 9999.
    if (!(days >= -657434 && days < 2958466)) throw evaluationError(errors::Overflow);
    long z = static_cast<long>(std::floor(days)) - 25569 + 719468;
    const long era = (z >= 0 ? z : z - 146096) / 146097;
    const long doe = z - era * 146097;
    const long yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const long doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const long mp = (5 * doy + 2) / 153;
    const int d = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
    const int m = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    return {static_cast<int>(yoe + era * 400 + (m <= 2)), m, d};
}

double dateOf(const Variant& v) {
    if (const auto* d = std::get_if<vb::Date>(&v)) return d->days;
    if (const auto* s = std::get_if<std::string>(&v))
        if (auto d = dateLiteral(*s)) return *d;
    return requireNumber(v);
}

// ---- functions -------------------------------------------------------------

class Evaluator {
public:
    Evaluator(const Scope& scope, const Rules& rules) : scope_(scope), rules_(rules) {}

    Variant operator()(const Expr& e) const {
        using K = Expr::Kind;
        switch (e.kind) {
        case K::Null: return vb::Null{};
        case K::Boolean: return strcasecmp(e.text.c_str(), "True") == 0 || strcasecmp(e.text.c_str(), "Yes") == 0;
        case K::Number: return number(e.text);
        case K::String: return e.text;
        case K::Date: {
            const auto days = dateLiteral(e.text);
            if (!days) throw evaluationError(errors::TypeMismatch);
            return vb::Date{*days};
        }
        case K::Name: return scope_.value(e);
        case K::Unary: return unary(e);
        case K::Binary: return binary(e);
        case K::Like: {
            const Variant value = (*this)(*e.args[0]), pattern = (*this)(*e.args[1]);
            if (isNull(value) || isNull(pattern)) return vb::Null{};
            const bool match = like(foldedCodePoints(textOf(value)), foldedCodePoints(textOf(pattern)));
            return match != e.negated;
        }
        case K::IsNull: return isNull((*this)(*e.args[0])) != e.negated;
        case K::Between: {
            const Variant v = (*this)(*e.args[0]);
            const auto low = compareValues(v, (*this)(*e.args[1]), rules_);
            const auto high = compareValues(v, (*this)(*e.args[2]), rules_);
            if (!low || !high) return vb::Null{};
            return (*low >= 0 && *high <= 0) != e.negated;
        }
        case K::InList: {
            const Variant v = (*this)(*e.args[0]);
            if (isNull(v)) return vb::Null{};
            bool sawNull = false;
            for (std::size_t i = 1; i < e.args.size(); ++i) {
                const auto c = compareValues(v, (*this)(*e.args[i]), rules_);
                if (!c) sawNull = true;
                else if (*c == 0) return !e.negated;
            }
            if (sawNull) return vb::Null{};
            return e.negated;
        }
        case K::Call: return call(e);
        case K::Exists: return !subqueryRows(e).empty();
        case K::Subquery: {
            const auto rows = subqueryRows(e);
            if (rows.size() > 1) throw evaluationError(errors::SubqueryRows);
            return rows.empty() || rows[0].empty() ? Variant(vb::Null{}) : rows[0][0];
        }
        case K::InQuery: {
            const Variant v = (*this)(*e.args[0]);
            if (isNull(v)) return vb::Null{};
            bool sawNull = false;
            for (const auto& row : subqueryRows(e)) {
                const auto c = row.empty() ? std::nullopt : compareValues(v, row[0], rules_);
                if (!c) sawNull = true;
                else if (*c == 0) return !e.negated;
            }
            if (sawNull) return vb::Null{};
            return e.negated;
        }
        case K::Star: break;
        }
        // "*" stands only inside an aggregate's parentheses.
        throw evaluationError(errors::UnknownName, "*");
    }

private:
    static Variant number(const std::string& text) {
        // A number too long for 64 bits reads as a Double, as Jet reads it.
        if (text.size() > 2 && text[0] == '&') {
            const int base = (text[1] == 'H' || text[1] == 'h') ? 16 : 8;
            errno = 0;
            char* end = nullptr;
            const long long n = std::strtoll(text.c_str() + 2, &end, base);
            if (errno != 0 || *end != '\0') throw evaluationError(errors::TypeMismatch);
            return wholeResult(n);
        }
        if (text.find_first_of(".eE") == std::string::npos) {
            errno = 0;
            char* end = nullptr;
            const long long n = std::strtoll(text.c_str(), &end, 10);
            if (errno == 0 && *end == '\0') return wholeResult(n);
        }
        return vb::Val(text);
    }

    std::vector<std::vector<Variant>> subqueryRows(const Expr& e) const {
        auto rows = scope_.rowsOf(*e.query);
        if (!rows) throw evaluationError(errors::UnknownName, "subquery");
        return std::move(*rows);
    }

    Variant unary(const Expr& e) const {
        const Variant v = (*this)(*e.args[0]);
        if (e.op == "NOT") {
            const auto b = logical(v);
            return b ? Variant(!*b) : Variant(vb::Null{});
        }
        if (isNull(v) || e.op == "+") return v;
        if (isWhole(v)) return wholeResult(-wholeOf(v));
        if (const auto* c = std::get_if<vb::Currency>(&v)) {
            if (c->tenThousandths == INT64_MIN) throw evaluationError(errors::Overflow);
            return vb::Currency{-c->tenThousandths};
        }
        return -requireNumber(v);
    }

    Variant binary(const Expr& e) const {
        const std::string& op = e.op;
        if (op == "AND" || op == "OR") {
            const auto a = logical((*this)(*e.args[0]));
            // False AND anything, True OR anything, are decided by the left side.
            if (a && *a == (op == "OR")) return *a;
            const auto b = logical((*this)(*e.args[1]));
            if (op == "AND") return truth(a && b ? std::optional<bool>(*a && *b)
                                                 : (b && !*b) ? std::optional<bool>(false) : std::nullopt);
            return truth(a && b ? std::optional<bool>(*a || *b) : (b && *b) ? std::optional<bool>(true) : std::nullopt);
        }
        const Variant a = (*this)(*e.args[0]), b = (*this)(*e.args[1]);
        if (op == "XOR" || op == "EQV" || op == "IMP") {
            const auto x = logical(a), y = logical(b);
            if (!x || !y) return vb::Null{};
            return op == "XOR" ? *x != *y : op == "EQV" ? *x == *y : (!*x || *y);
        }
        if (op == "&") {
            if (isNull(a) && isNull(b)) return vb::Null{};
            return textOf(a) + textOf(b);
        }
        if (op == "=" || op == "<>" || op == "<" || op == ">" || op == "<=" || op == ">=") {
            const auto c = compareValues(a, b, rules_);
            if (!c) return vb::Null{};
            if (op == "=") return *c == 0;
            if (op == "<>") return *c != 0;
            if (op == "<") return *c < 0;
            if (op == ">") return *c > 0;
            if (op == "<=") return *c <= 0;
            return *c >= 0;
        }
        return arithmetic(op, a, b);
    }

    Variant arg(const Expr& e, std::size_t i) const {
        return i < e.args.size() ? (*this)(*e.args[i]) : Variant(vb::Empty{});
    }

    Variant call(const Expr& e) const {
        const std::string& f = e.op;
        auto is = [&](const char* name) { return strcasecmp(f.c_str(), name) == 0; };
        if (isAggregate(f)) {
            if (auto value = scope_.aggregate(e)) return *value;
            throw evaluationError(errors::AggregateInWhere, f + "(...)");
        }
        if (is("IIf")) return holds(arg(e, 0)) ? arg(e, 1) : arg(e, 2);
        if (is("Nz")) {
            const Variant v = arg(e, 0);
            if (!isNull(v)) return v;
            return e.args.size() > 1 ? arg(e, 1) : Variant(std::string());
        }
        if (is("IsNull")) return isNull(arg(e, 0));
        const Variant a = arg(e, 0);
        if (is("Format")) return isNull(a) ? Variant(vb::Null{}) : Variant(vb::Format(a, textOf(arg(e, 1))));
        if (isNull(a)) return vb::Null{};
        if (is("Trim") || is("LTrim") || is("RTrim")) {
            std::string s = textOf(a);
            if (!is("RTrim")) s.erase(0, std::min(s.size(), s.find_first_not_of(' ')));
            if (!is("LTrim")) s.erase(s.find_last_not_of(' ') + 1);
            return s;
        }
        if (is("Len")) return static_cast<std::int32_t>(vb::Len(textOf(a)));
        if (is("Left") || is("Right") || is("Mid")) {
            const std::u16string units = text::toUtf16(textOf(a));
            const auto n = static_cast<std::size_t>(std::max(0.0, requireNumber(arg(e, 1))));
            if (is("Left")) return text::toUtf8(units.substr(0, n));
            if (is("Right")) return text::toUtf8(units.substr(units.size() - std::min(n, units.size())));
            const std::size_t start = n > 0 ? n - 1 : 0;
            if (start >= units.size()) return std::string();
            const std::size_t length =
                e.args.size() > 2 ? static_cast<std::size_t>(std::max(0.0, requireNumber(arg(e, 2)))) : units.size();
            return text::toUtf8(units.substr(start, length));
        }
        if (is("CStr")) return textOf(a);
        if (is("Val")) return vb::Val(textOf(a));
        if (is("CDbl")) return requireNumber(a);
        if (is("CLng") || is("CInt")) {
            if (is("CInt")) return static_cast<std::int16_t>(wholeNumber(requireNumber(a), INT16_MAX));
            return static_cast<std::int32_t>(wholeNumber(requireNumber(a), INT32_MAX));
        }
        if (is("CCur")) return currencyOf(requireNumber(a));
        if (is("CDate")) return vb::Date{dateOf(a)};
        if (is("Abs")) {
            if (isWhole(a)) return wholeResult(std::llabs(wholeOf(a)));
            if (const auto* c = std::get_if<vb::Currency>(&a)) {
                if (c->tenThousandths == INT64_MIN) throw evaluationError(errors::Overflow);
                return vb::Currency{std::llabs(c->tenThousandths)};
            }
            return std::fabs(requireNumber(a));
        }
        if (is("Int")) return std::floor(requireNumber(a));
        if (is("Fix")) return std::trunc(requireNumber(a));
        if (is("Year")) return static_cast<std::int16_t>(civilFromDays(dateOf(a)).year);
        if (is("Month")) return static_cast<std::int16_t>(civilFromDays(dateOf(a)).month);
        if (is("Day")) return static_cast<std::int16_t>(civilFromDays(dateOf(a)).day);
        if (is("DatePart")) {
            const std::string part = textOf(a);
            const Variant d = arg(e, 1);
            if (isNull(d)) return vb::Null{};
            const Civil c = civilFromDays(dateOf(d));
            if (strcasecmp(part.c_str(), "yyyy") == 0) return static_cast<std::int32_t>(c.year);
            if (strcasecmp(part.c_str(), "q") == 0) return static_cast<std::int32_t>((c.month - 1) / 3 + 1);
            if (strcasecmp(part.c_str(), "m") == 0) return static_cast<std::int32_t>(c.month);
            if (strcasecmp(part.c_str(), "d") == 0) return static_cast<std::int32_t>(c.day);
            throw evaluationError(errors::UndefinedFunction, "DatePart(\"" + part + "\")");
        }
        if (is("InStr")) {
            // InStr(text, part) only: the start position form is not used by saved queries here.
            const std::string s = textOf(a), part = textOf(arg(e, 1));
            const std::u32string hay = foldedCodePoints(s), needle = foldedCodePoints(part);
            const std::size_t at = hay.find(needle);
            return static_cast<std::int32_t>(at == std::u32string::npos ? 0 : at + 1);
        }
        throw evaluationError(errors::UndefinedFunction, f);
    }

    const Scope& scope_;
    const Rules& rules_;
};

}  // namespace

std::optional<double> numberValue(const Variant& value) { return numberOf(value); }
bool isWholeValue(const Variant& value) { return isWhole(value); }

bool isAggregate(const std::string& name) {
    for (const char* a : {"Count", "Sum", "Avg", "Min", "Max", "First", "Last", "StDev", "StDevP", "Var", "VarP"})
        if (strcasecmp(name.c_str(), a) == 0) return true;
    return false;
}

bool containsAggregate(const Expr& e) {
    if (e.kind == Expr::Kind::Call && isAggregate(e.op)) return true;
    for (const auto& arg : e.args)
        if (containsAggregate(*arg)) return true;
    return false;
}

bool holds(const Variant& value) {
    if (isNull(value) || std::holds_alternative<vb::Empty>(value)) return false;
    if (const bool* b = std::get_if<bool>(&value)) return *b;
    const auto n = numberOf(value);
    return n && *n != 0;
}

std::optional<double> dateLiteral(const std::string& text) {
    // m/d/y or y-m-d, and an optional time h:m[:s] [AM|PM].
    int a = 0, b = 0, c = 0, consumed = 0;
    const std::string t = text::trimmed(text);
    double days = 0;
    std::size_t rest = 0;
    // Jet's dates run from the year 100 to 9999.
    auto valid = [](int year, int month, int day) {
        return year >= 100 && year <= 9999 && month >= 1 && month <= 12 && day >= 1 && day <= 31;
    };
    if (std::sscanf(t.c_str(), "%d-%d-%d%n", &a, &b, &c, &consumed) == 3 && a > 31) {
        if (!valid(a, b, c)) return std::nullopt;
        days = daysFromCivil(a, b, c);
    } else if (std::sscanf(t.c_str(), "%d/%d/%d%n", &a, &b, &c, &consumed) == 3) {
        int year = c;
        if (year >= 0 && year < 100) year += year < 30 ? 2000 : 1900;
        if (!valid(year, a, b)) return std::nullopt;
        days = daysFromCivil(year, a, b);
    } else {
        consumed = 0;
    }
    rest = static_cast<std::size_t>(consumed);
    int h = 0, m = 0, s = 0, timeConsumed = 0;
    const std::string time = text::trimmed(t.substr(rest));
    if (!time.empty()) {
        const int fields = std::sscanf(time.c_str(), "%d:%d:%d%n", &h, &m, &s, &timeConsumed);
        if (fields < 2) return std::nullopt;
        if (fields == 2) std::sscanf(time.c_str(), "%d:%d%n", &h, &m, &timeConsumed);
        if (h < 0 || h > 23 || m < 0 || m > 59 || s < 0 || s > 59) return std::nullopt;
        const std::string suffix = text::trimmed(time.substr(static_cast<std::size_t>(timeConsumed)));
        if (strcasecmp(suffix.c_str(), "PM") == 0 && h < 12) h += 12;
        else if (strcasecmp(suffix.c_str(), "AM") == 0 && h == 12) h = 0;
        else if (!suffix.empty() && strcasecmp(suffix.c_str(), "AM") != 0 && strcasecmp(suffix.c_str(), "PM") != 0)
            return std::nullopt;
        days += (h * 3600 + m * 60 + s) / 86400.0;
    } else if (consumed == 0) {
        return std::nullopt;
    }
    return days;
}

Variant evaluate(const Expr& expression, const Scope& scope, const Rules& rules) {
    return Evaluator(scope, rules)(expression);
}

}  // namespace ql::jetsql
