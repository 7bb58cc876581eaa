#include "tests/platform/jet/MdbExport.h"

#include <cstdio>

namespace ql::test {

using namespace ql::jet;

namespace {
const char kCellSeparator[] = "\x1f";
const char kRowSeparator[] = "\x1e";
const char kDateFormat[] = "%Y-%m-%d %H:%M:%S";

std::string hex(const Binary& bytes) {
    static const char* digits = "0123456789ABCDEF";
    std::string out;
    for (std::uint8_t b : bytes) {
        out.push_back(digits[b >> 4]);
        out.push_back(digits[b & 15]);
    }
    return out;
}
}  // namespace

std::vector<std::string> mdbExportArgs(const std::string& file, const std::string& table) {
    return {"mdb-export", "-Q", "-d", kCellSeparator, "-R", kRowSeparator, "-b", "hex",
            "-D", kDateFormat, "-T", kDateFormat, file, table};
}

std::vector<std::string> mdbEnvironment(const HeaderInfo& header) {
    return {"MDB_JET3_CHARSET=CP" + std::to_string(header.codePage ? header.codePage : 1252)};
}

std::vector<std::vector<std::string>> splitExport(const std::string& out) {
    std::vector<std::vector<std::string>> rows;
    std::size_t start = 0;
    while (start < out.size()) {
        std::size_t end = out.find(kRowSeparator[0], start);
        if (end == std::string::npos) end = out.size();
        const std::string line = out.substr(start, end - start);
        std::vector<std::string> cells;
        std::size_t cellStart = 0;
        for (;;) {
            const std::size_t sep = line.find(kCellSeparator[0], cellStart);
            cells.push_back(line.substr(cellStart, sep == std::string::npos ? std::string::npos : sep - cellStart));
            if (sep == std::string::npos) break;
            cellStart = sep + 1;
        }
        rows.push_back(std::move(cells));
        start = end + 1;
    }
    return rows;
}

std::string asMdbExport(const Value& value, const Column& column) {
    if (value.isNull()) return "";
    // Types mdbtools does not know (the fixed 3992-byte binary of Jet 4's
    // MSysAccessObjects) are printed as empty cells.
    if (column.type == static_cast<std::uint8_t>(ColumnType::FixedBinary)) return "";
    if (const bool* b = value.get<bool>()) return *b ? "1" : "0";
    if (const auto* v = value.get<std::uint8_t>()) return std::to_string(*v);
    if (const auto* v = value.get<std::int16_t>()) return std::to_string(*v);
    if (const auto* v = value.get<std::int32_t>()) return std::to_string(*v);
    if (const auto* v = value.get<Currency>()) {
        // mdbtools always prints four decimals.
        const std::int64_t t = v->tenThousandths;
        const std::uint64_t mag = t < 0 ? 0 - static_cast<std::uint64_t>(t) : static_cast<std::uint64_t>(t);
        char text[40];
        std::snprintf(text, sizeof text, "%s%llu.%04llu", t < 0 ? "-" : "", static_cast<unsigned long long>(mag / 10000),
                      static_cast<unsigned long long>(mag % 10000));
        return text;
    }
    if (const auto* v = value.get<float>()) {
        char text[48];
        std::snprintf(text, sizeof text, "%.8g", static_cast<double>(*v));
        return text;
    }
    if (const auto* v = value.get<double>()) {
        char text[48];
        std::snprintf(text, sizeof text, "%.16g", *v);
        return text;
    }
    if (const auto* v = value.get<DateTime>()) {
        // mdbtools converts only dates from 1899-12-30 to about 4637; for
        // any other it prints an all-zero struct tm.
        if (v->days < 0.0 || v->days > 1e6) return "1900-01-00 00:00:00";
        return v->toIso();
    }
    if (const auto* v = value.get<Binary>()) {
        // mdbtools hands binary cells to a C string routine, which stops at
        // the first 00 byte.
        Binary cut(*v);
        for (std::size_t i = 0; i < cut.size(); ++i)
            if (cut[i] == 0) {
                cut.resize(i);
                break;
            }
        return hex(cut);
    }
    // Text goes through C strings in mdbtools, which end at a NUL; Access
    // stores one at the end of some MSysQueries expressions.
    auto cString = [](std::string text) { return text.substr(0, text.find('\0')); };
    if (const auto* v = value.get<std::string>()) return cString(*v);
    if (const auto* v = value.get<LongValue>()) return v->isMemo() ? cString(v->text()) : hex(v->bytes());
    if (const auto* v = value.get<Guid>()) {
        // mdbtools treats a GUID as binary in "-b hex" mode and hex-encodes
        // the text it made of it, which lacks the hyphen before the last
        // group: {8-4-4-16}.
        std::string text = v->toString();
        text.erase(text.rfind('-'), 1);
        return hex(Binary(text.begin(), text.end()));
    }
    if (const auto* v = value.get<Decimal>()) return v->toString();
    return "?";
}

}  // namespace ql::test
