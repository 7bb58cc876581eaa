#include "tests/analysis/IndependentCount.h"

#include <regex>
#include <vector>

namespace ql::test {

ModuleCounts countStoredText(const std::string& stored) {
    std::vector<std::string> visible;
    static const std::regex hidden("^Attribute [^ ]+ = .*");
    std::size_t begin = 0;
    while (begin < stored.size()) {
        std::size_t end = stored.find("\r\n", begin);
        if (end == std::string::npos) end = stored.size();
        std::string line = stored.substr(begin, end - begin);
        if (!std::regex_match(line, hidden)) visible.push_back(line);
        begin = end + 2;
    }

    // On the line with its spaces (only) trimmed: a counted declaration is
    // the keyword and a space, optionally after "Public " or "Private "; a
    // line that is "Public" or "Private", a space and one more word makes
    // the whole count fail with -5.
    static const std::regex function("^(?:(?:Public|Private) )?Function .*");
    static const std::regex sub("^(?:(?:Public|Private) )?Sub .*");
    static const std::regex invalid("^(?:Public|Private) [^ ]*");
    ModuleCounts counts;
    counts.lines = static_cast<std::int32_t>(visible.size());
    bool failed = false;
    for (const auto& line : visible) {
        const auto first = line.find_first_not_of(' ');
        if (first == std::string::npos) continue;
        const std::string trimmed = line.substr(first, line.find_last_not_of(' ') - first + 1);
        failed = failed || std::regex_match(trimmed, invalid);
        counts.functions += std::regex_match(trimmed, function);
        counts.subs += std::regex_match(trimmed, sub);
    }
    if (failed) counts.functions = counts.subs = -5;
    return counts;
}

}  // namespace ql::test
