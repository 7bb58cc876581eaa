// VB6 text conversions written out by hand: no Linux library reproduces the
// OLE Automation rules (15/7 significant digits, the general date form,
// Format's placeholders), and the program's texts depend on them exactly.
#include "platform/vb/VbText.h"

#include <QDate>
#include <QLocale>
#include <QString>
#include <QTime>

#include <array>
#include <chrono>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <optional>

#include "platform/RuntimeError.h"
#include "platform/jet/Value.h"

namespace ql::vb {

namespace {

constexpr int InvalidUseOfNull = 94;
constexpr double SecondsPerDay = 86400.0;
// 1899-12-30, the day VB counts dates from, as days after 1970-01-01.
constexpr long long DateZeroFromUnixEpoch = -25569;

constexpr std::array<const char*, 12> MonthNames = {"January", "February", "March",     "April",   "May",      "June",
                                                    "July",    "August",   "September", "October", "November", "December"};
constexpr std::array<const char*, 7> DayNames = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                 "Thursday", "Friday", "Saturday"};

std::string printed(const char* format, double value) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, format, value);
    return buffer;
}

std::string realText(double value, int significantDigits) {
    if (std::isnan(value)) return "-1.#IND";
    if (std::isinf(value)) return value > 0 ? "1.#INF" : "-1.#INF";
    if (value == 0) return "0";  // also for -0
    // %G switches to the exponent form below 1E-04 and from 10^digits on,
    // with at least two exponent digits, as VB does.
    return printed(significantDigits == 7 ? "%.7G" : "%.15G", value);
}

// ---- dates -------------------------------------------------------------

struct DateParts {
    int year = 1899, month = 12, day = 30;
    int hour = 0, minute = 0, second = 0;
    int weekday = 0;  // 0 Sunday
    int dayOfYear = 1;
    bool hasDate = false;  // the whole-day part is not 0
    bool hasTime = false;  // the time of day is not midnight
};

// The calendar parts come from the Jet reader's own date decoding, so that
// a date reads the same in the grids as in the reader's tests.
DateParts dateParts(double days) {
    using namespace std::chrono;
    DateParts parts;
    if (!std::isfinite(days)) return parts;
    const jet::DateTime::Parts p = jet::DateTime{days}.parts();
    parts.year = p.year;
    parts.month = p.month;
    parts.day = p.day;
    parts.hour = p.hour;
    parts.minute = p.minute;
    parts.second = p.second;
    const sys_days date{year{p.year} / p.month / p.day};
    parts.weekday = static_cast<int>(weekday{date}.c_encoding());
    parts.dayOfYear = static_cast<int>((date - sys_days{year{p.year} / January / 1}).count()) + 1;
    parts.hasDate = date != sys_days{year{1899} / December / 30};
    parts.hasTime = p.hour != 0 || p.minute != 0 || p.second != 0;
    return parts;
}

std::string twoDigits(int value) {
    std::string text = std::to_string(value);
    return text.size() < 2 ? "0" + text : text;
}

int twelveHour(int hour) { return hour % 12 == 0 ? 12 : hour % 12; }

// The user's short date and long time forms, as Windows' CStr takes them
// from the regional settings: Qt's reading of LC_ALL, LC_TIME and LANG. A
// two-digit year is widened to four, as Windows' short dates have it, and the
// time zone Qt's long form ends with is left out, as Windows' long time has
// none. Without a locale (C or POSIX) the English (United States) forms stay,
// the ones the program always showed.
struct DateForms {
    bool english = true;
    QLocale locale;
    QString date, time;
};

const DateForms& dateForms() {
    static const DateForms forms = [] {
        DateForms f;
        f.locale = QLocale::system();
        if (f.locale.language() == QLocale::C) return f;
        f.english = false;
        f.date = f.locale.dateFormat(QLocale::ShortFormat);
        if (!f.date.contains(QLatin1String("yyyy"))) f.date.replace(QLatin1String("yy"), QLatin1String("yyyy"));
        f.time = f.locale.timeFormat(QLocale::LongFormat);
        bool quoted = false;
        QString time;
        for (const QChar c : f.time) {
            if (c == QLatin1Char('\'')) quoted = !quoted;
            if (quoted || c != QLatin1Char('t')) time += c;
        }
        f.time = time.trimmed();
        return f;
    }();
    return forms;
}

std::string shortDate(const DateParts& p) {
    const DateForms& forms = dateForms();
    if (forms.english) return std::to_string(p.month) + "/" + std::to_string(p.day) + "/" + std::to_string(p.year);
    return forms.locale.toString(QDate(p.year, p.month, p.day), forms.date).toStdString();
}

std::string longTime(const DateParts& p) {
    const DateForms& forms = dateForms();
    if (forms.english)
        return std::to_string(twelveHour(p.hour)) + ":" + twoDigits(p.minute) + ":" + twoDigits(p.second) +
               (p.hour < 12 ? " AM" : " PM");
    return forms.locale.toString(QTime(p.hour, p.minute, p.second), forms.time).toStdString();
}

std::string generalDate(const DateParts& p) {
    if (!p.hasDate) return longTime(p);
    if (!p.hasTime) return shortDate(p);
    return shortDate(p) + " " + longTime(p);
}

size_t runLength(const std::string& text, size_t at) {
    const char c = static_cast<char>(std::tolower(static_cast<unsigned char>(text[at])));
    size_t n = 0;
    while (at + n < text.size() && std::tolower(static_cast<unsigned char>(text[at + n])) == c) ++n;
    return n;
}

// The day, month and year placeholders (d to dddd, m to mmmm, yy and yyyy):
// the only ones the program's patterns use. Anything else is copied.
std::string formatDate(double days, const std::string& pattern) {
    const DateParts p = dateParts(days);
    std::string out;
    for (size_t i = 0; i < pattern.size();) {
        const char c = pattern[i];
        const size_t n = runLength(pattern, i);
        switch (std::tolower(static_cast<unsigned char>(c))) {
        case 'd':
            if (n == 1) out += std::to_string(p.day);
            else if (n == 2) out += twoDigits(p.day);
            else if (n == 3) out += std::string(DayNames[static_cast<size_t>(p.weekday)]).substr(0, 3);
            else out += DayNames[static_cast<size_t>(p.weekday)];
            break;
        case 'm':
            if (n == 1) out += std::to_string(p.month);
            else if (n == 2) out += twoDigits(p.month);
            else if (n == 3) out += std::string(MonthNames[static_cast<size_t>(p.month - 1)]).substr(0, 3);
            else out += MonthNames[static_cast<size_t>(p.month - 1)];
            break;
        case 'y':
            if (n >= 3) out += std::to_string(p.year);
            else if (n == 2) out += twoDigits(p.year % 100);
            else out += std::to_string(p.dayOfYear);
            break;
        default:
            out += std::string(n, c);
            break;
        }
        i += n;
    }
    return out;
}

bool isDatePattern(const std::string& pattern) {
    return pattern.find_first_of("dDmMyY") != std::string::npos;
}

// ---- numbers -----------------------------------------------------------

// The decimal digits of |value| (at most 15 significant, as VB works with
// them) and the position of the decimal point within them.
struct Digits {
    std::string digits;  // no leading zeros; "" for zero
    int pointAt = 0;     // digits before the point (may be <= 0 or > size)
};

Digits decimalDigits(double value) {
    Digits d;
    if (value == 0 || !std::isfinite(value)) return d;
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.14e", std::fabs(value));
    const std::string text = buffer;  // "d.dddddddddddddde±XX"
    const size_t e = text.find('e');
    d.digits = text.substr(0, 1) + text.substr(2, e - 2);
    d.pointAt = std::stoi(text.substr(e + 1)) + 1;
    while (!d.digits.empty() && d.digits.back() == '0') d.digits.pop_back();
    return d;
}

// Rounds to `decimals` places, half away from zero, on the decimal digits.
Digits roundDigits(Digits d, int decimals) {
    const int keep = d.pointAt + decimals;
    if (keep >= static_cast<int>(d.digits.size())) return d;
    if (keep < 0) return {};
    const bool up = d.digits[static_cast<size_t>(keep)] >= '5';
    d.digits.resize(static_cast<size_t>(keep));
    if (up) {
        int i = keep - 1;
        for (; i >= 0 && d.digits[static_cast<size_t>(i)] == '9'; --i) d.digits[static_cast<size_t>(i)] = '0';
        if (i >= 0) {
            ++d.digits[static_cast<size_t>(i)];
        } else {
            d.digits.insert(d.digits.begin(), '1');
            ++d.pointAt;
        }
    }
    while (!d.digits.empty() && d.digits.back() == '0') d.digits.pop_back();
    if (d.digits.empty()) d.pointAt = 0;
    return d;
}

struct NumberPattern {
    std::string prefix, suffix;
    int integerZeros = 0;       // "0" places before the point
    bool thousands = false;
    bool hasPoint = false;
    int fractionZeros = 0;      // "0" places after the point
    int fractionPlaces = 0;     // "0" and "#" places after the point
    bool percent = false;
};

NumberPattern parseNumberPattern(const std::string& pattern) {
    NumberPattern p;
    bool inNumber = false, done = false;
    for (size_t i = 0; i < pattern.size(); ++i) {
        const char c = pattern[i];
        std::string literal;
        if (c == '"') {
            const size_t end = pattern.find('"', i + 1);
            literal = pattern.substr(i + 1, end == std::string::npos ? std::string::npos : end - i - 1);
            i = end == std::string::npos ? pattern.size() : end;
        } else if (c == '\\' && i + 1 < pattern.size()) {
            literal = pattern.substr(++i, 1);
        } else if (!done && (c == '0' || c == '#')) {
            inNumber = true;
            if (p.hasPoint) {
                ++p.fractionPlaces;
                if (c == '0') p.fractionZeros = p.fractionPlaces;
            } else if (c == '0') {
                ++p.integerZeros;
            }
            continue;
        } else if (!done && c == '.' && !p.hasPoint) {
            inNumber = true;
            p.hasPoint = true;
            continue;
        } else if (!done && c == ',' && inNumber && !p.hasPoint) {
            p.thousands = true;
            continue;
        } else {
            if (c == '%') p.percent = true;
            literal = std::string(1, c);
        }
        if (inNumber) done = true;
        (done ? p.suffix : p.prefix) += literal;
    }
    return p;
}

std::string groupThousands(const std::string& digits) {
    std::string out;
    for (size_t i = 0; i < digits.size(); ++i) {
        if (i && (digits.size() - i) % 3 == 0) out += ',';
        out += digits[i];
    }
    return out;
}

std::string formatNumber(double value, const std::string& pattern) {
    const NumberPattern p = parseNumberPattern(pattern);
    if (p.percent) value *= 100;
    const Digits d = roundDigits(decimalDigits(value), p.fractionPlaces);

    std::string integer, fraction;
    for (int i = 0; i < d.pointAt; ++i)
        integer += i < static_cast<int>(d.digits.size()) ? d.digits[static_cast<size_t>(i)] : '0';
    if (d.pointAt < 0) fraction = std::string(static_cast<size_t>(-d.pointAt), '0') + d.digits;
    else if (d.pointAt < static_cast<int>(d.digits.size())) fraction = d.digits.substr(static_cast<size_t>(d.pointAt));
    while (static_cast<int>(integer.size()) < p.integerZeros) integer.insert(integer.begin(), '0');
    while (static_cast<int>(fraction.size()) < p.fractionZeros) fraction += '0';
    if (p.thousands) integer = groupThousands(integer);

    // VB keeps the sign of a negative number even when it rounds to zero.
    std::string out = value < 0 ? "-" : "";
    out += p.prefix + integer;
    if (p.hasPoint) out += "." + fraction;
    return out + p.suffix;
}

std::optional<double> parseNumber(const std::string& text);

std::optional<double> numberOf(const Variant& value) {
    return std::visit(
        [](const auto& v) -> std::optional<double> {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, bool>) return v ? -1.0 : 0.0;
            else if constexpr (std::is_same_v<T, std::uint8_t> || std::is_same_v<T, std::int16_t> ||
                               std::is_same_v<T, std::int32_t> || std::is_same_v<T, float> ||
                               std::is_same_v<T, double>)
                return static_cast<double>(v);
            else if constexpr (std::is_same_v<T, Currency>) return static_cast<double>(v.tenThousandths) / 10000.0;
            else if constexpr (std::is_same_v<T, Date>) return v.days;
            else if constexpr (std::is_same_v<T, std::string>) return parseNumber(v);
            else return std::nullopt;
        },
        value);
}

// ---- reading numbers ---------------------------------------------------

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v'; }

// The OLE number grammar IsNumeric accepts. Gives the value when it reads.
std::optional<double> parseNumber(const std::string& raw) {
    size_t begin = 0, end = raw.size();
    while (begin < end && isBlank(raw[begin])) ++begin;
    while (end > begin && isBlank(raw[end - 1])) --end;
    const std::string text = raw.substr(begin, end - begin);
    if (text.empty()) return std::nullopt;

    if (text.size() > 2 && text[0] == '&' && (text[1] == 'H' || text[1] == 'h' || text[1] == 'O' || text[1] == 'o')) {
        const bool hex = text[1] == 'H' || text[1] == 'h';
        double value = 0;
        for (size_t i = 2; i < text.size(); ++i) {
            const char c = static_cast<char>(std::tolower(static_cast<unsigned char>(text[i])));
            int digit;
            if (c >= '0' && c <= '9') digit = c - '0';
            else if (hex && c >= 'a' && c <= 'f') digit = c - 'a' + 10;
            else return std::nullopt;
            if (!hex && digit > 7) return std::nullopt;
            value = value * (hex ? 16 : 8) + digit;
        }
        return value;
    }

    size_t i = 0;
    bool negative = false, signSeen = false, parens = false, currencySeen = false;
    auto takeCurrency = [&] {
        if (i < text.size() && text[i] == '$' && !currencySeen) {
            currencySeen = true;
            ++i;
        }
    };
    if (text[i] == '(') {
        parens = true;
        negative = true;
        ++i;
    }
    takeCurrency();
    if (!parens && i < text.size() && (text[i] == '+' || text[i] == '-')) {
        signSeen = true;
        negative = text[i] == '-';
        ++i;
    }
    takeCurrency();

    std::string mantissa;
    bool digitSeen = false, pointSeen = false;
    for (; i < text.size(); ++i) {
        const char c = text[i];
        if (std::isdigit(static_cast<unsigned char>(c))) {
            mantissa += c;
            digitSeen = true;
        } else if (c == ',' && digitSeen && !pointSeen) {
            continue;
        } else if (c == '.' && !pointSeen) {
            mantissa += c;
            pointSeen = true;
        } else {
            break;
        }
    }
    if (!digitSeen) return std::nullopt;
    int exponent = 0;
    if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
        size_t j = i + 1;
        bool expNegative = false;
        if (j < text.size() && (text[j] == '+' || text[j] == '-')) expNegative = text[j++] == '-';
        const size_t digitsStart = j;
        while (j < text.size() && std::isdigit(static_cast<unsigned char>(text[j])) && j - digitsStart < 6)
            exponent = exponent * 10 + (text[j++] - '0');
        if (j == digitsStart || (j < text.size() && std::isdigit(static_cast<unsigned char>(text[j]))))
            return std::nullopt;
        if (expNegative) exponent = -exponent;
        i = j;
    }
    takeCurrency();
    if (!parens && !signSeen && i < text.size() && (text[i] == '+' || text[i] == '-')) {
        negative = text[i] == '-';
        ++i;
    }
    takeCurrency();
    if (parens) {
        if (i >= text.size() || text[i] != ')') return std::nullopt;
        ++i;
    }
    if (i != text.size()) return std::nullopt;
    const double value = std::strtod((mantissa + "e" + std::to_string(exponent)).c_str(), nullptr);
    return negative ? -value : value;
}

}  // namespace

// ---- public ------------------------------------------------------------

std::string booleanText(bool value) { return value ? "True" : "False"; }

std::string doubleText(double value) { return realText(value, 15); }

std::string singleText(float value) { return realText(static_cast<double>(value), 7); }

std::string currencyText(std::int64_t tenThousandths) {
    const bool negative = tenThousandths < 0;
    const std::uint64_t magnitude =
        negative ? ~static_cast<std::uint64_t>(tenThousandths) + 1 : static_cast<std::uint64_t>(tenThousandths);
    std::string text = std::to_string(magnitude / 10000);
    std::string fraction = std::to_string(magnitude % 10000);
    fraction.insert(fraction.begin(), 4 - fraction.size(), '0');
    while (!fraction.empty() && fraction.back() == '0') fraction.pop_back();
    if (!fraction.empty()) text += "." + fraction;
    return negative ? "-" + text : text;
}

std::string dateText(double days) { return generalDate(dateParts(days)); }

std::string timeText(double days) { return longTime(dateParts(days)); }

std::string CStr(const Variant& value) {
    return std::visit(
        [](const auto& v) -> std::string {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, Empty>) return {};
            else if constexpr (std::is_same_v<T, Null>) throw RuntimeError(InvalidUseOfNull, "Invalid use of Null");
            else if constexpr (std::is_same_v<T, bool>) return booleanText(v);
            else if constexpr (std::is_same_v<T, std::uint8_t> || std::is_same_v<T, std::int16_t> ||
                               std::is_same_v<T, std::int32_t>)
                return std::to_string(v);
            else if constexpr (std::is_same_v<T, Currency>) return currencyText(v.tenThousandths);
            else if constexpr (std::is_same_v<T, float>) return singleText(v);
            else if constexpr (std::is_same_v<T, double>) return doubleText(v);
            else if constexpr (std::is_same_v<T, Date>) return dateText(v.days);
            else if constexpr (std::is_same_v<T, std::string>) return v;
            else {
                // A byte array becomes the string whose UTF-16 units are its bytes.
                QString text;
                for (size_t i = 0; i < v.size(); i += 2) {
                    const char16_t unit = static_cast<char16_t>(v[i] | (i + 1 < v.size() ? v[i + 1] << 8 : 0));
                    text += QChar(unit);
                }
                return text.toStdString();
            }
        },
        value);
}

double localDays(std::time_t seconds) {
    std::tm local{};
    localtime_r(&seconds, &local);
    // The wall-clock fields, counted as if they were UTC, give local days.
    const std::time_t asUtc = timegm(&local);
    return static_cast<double>(asUtc) / SecondsPerDay - static_cast<double>(DateZeroFromUnixEpoch);
}

double Now() { return localDays(std::time(nullptr)); }

bool IsNumeric(const std::string& text) { return parseNumber(text).has_value(); }

bool IsNumeric(const Variant& value) {
    if (std::holds_alternative<Empty>(value)) return true;
    if (std::holds_alternative<Null>(value) || std::holds_alternative<Date>(value) ||
        std::holds_alternative<ByteArray>(value))
        return false;
    return numberOf(value).has_value();
}

std::string Format(const Variant& value, const std::string& pattern) {
    if (std::holds_alternative<Empty>(value) || std::holds_alternative<Null>(value)) return {};
    const auto* text = std::get_if<std::string>(&value);
    const auto number = numberOf(value);
    if (text && !number) return *text;  // not a number: returned as it is
    if (!number) return CStr(value);

    if (pattern.empty()) {
        if (std::holds_alternative<Date>(value)) return dateText(*number);
        if (std::holds_alternative<bool>(value)) return CStr(value);
        return doubleText(*number);
    }
    if (isDatePattern(pattern)) return formatDate(*number, pattern);
    return formatNumber(*number, pattern);
}

std::string fixedWidth(const std::string& text, int width) {
    if (width <= 0) return {};
    QString units = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    units = units.leftJustified(width, QChar(' '), true);
    return units.toStdString();
}

int Len(const std::string& text) {
    return static_cast<int>(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())).size());
}

std::string Right(const std::string& text, int count) {
    if (count <= 0) return {};
    QString units = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())).right(count);
    if (!units.isEmpty() && units.front().isLowSurrogate()) units.remove(0, 1);
    return units.toStdString();
}

double Val(const std::string& text) {
    std::size_t i = text.find_first_not_of(" \t\r\n");
    if (i == std::string::npos) return 0;
    std::string number;
    if (text[i] == '-' || text[i] == '+') number += text[i++];
    bool point = false;
    for (; i < text.size(); ++i) {
        if (text[i] >= '0' && text[i] <= '9')
            number += text[i];
        else if (text[i] == '.' && !point) {
            point = true;
            number += text[i];
        } else
            break;
    }
    return std::atof(number.c_str());
}

}  // namespace ql::vb
