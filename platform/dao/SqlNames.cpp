#include "platform/dao/SqlNames.h"

#include <QChar>
#include <QList>
#include <QString>

namespace ql::dao {

bool isPlainName(const std::string& name) {
    if (name.empty()) return false;
    // Qt's character tables decide what is a letter, so names in Cyrillic,
    // Thai or Chinese stay unbracketed as Access writes them.
    const QList<uint> codePoints = QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())).toUcs4();
    if (codePoints.isEmpty()) return false;
    if (QChar::isDigit(static_cast<char32_t>(codePoints.front()))) return false;
    for (const uint c : codePoints) {
        if (c == '_') continue;
        if (!QChar::isLetterOrNumber(static_cast<char32_t>(c))) return false;
    }
    return true;
}

bool isBracketed(const std::string& name) {
    if (name.size() < 2 || name.front() != '[' || name.back() != ']') return false;
    // "[a] & [b]" starts and ends with brackets but is not one name.
    return name.find(']') == name.size() - 1;
}

std::string sqlName(const std::string& name) {
    if (isPlainName(name) || isBracketed(name)) return name;
    return "[" + name + "]";
}

std::vector<std::string> splitQualifiedName(const std::string& name) {
    std::vector<std::string> parts;
    std::string current;
    bool inBrackets = false;
    for (const char c : name) {
        if (c == '[') inBrackets = true;
        else if (c == ']') inBrackets = false;
        if (!inBrackets && (c == '.' || c == '!')) {
            parts.push_back(current);
            parts.emplace_back(1, c);
            current.clear();
        } else {
            current += c;
        }
    }
    parts.push_back(current);
    return parts;
}

namespace {

bool isSeparator(const std::string& part) { return part == "." || part == "!"; }

}  // namespace

std::string sqlQualifiedName(const std::string& name) {
    std::string result;
    for (const std::string& part : splitQualifiedName(name))
        result += isSeparator(part) || part.empty() ? part : sqlName(part);
    return result;
}

std::string sqlParameterName(const std::string& name) {
    if (isPlainName(name) || (!name.empty() && name.front() == '[')) return name;
    if (name.find('!') == std::string::npos) return "[" + name + "]";
    std::string result;
    for (const std::string& part : splitQualifiedName(name)) {
        if (isSeparator(part) || isBracketed(part)) result += part;
        else result += "[" + part + "]";
    }
    return result;
}

}  // namespace ql::dao
