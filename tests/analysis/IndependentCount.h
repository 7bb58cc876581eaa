#pragma once
// The line, function and sub numbers of a module worked out from its stored
// text with regular expressions, to check the grid against something other
// than the code that fills it.
#include <cstdint>
#include <string>

namespace ql::test {

struct ModuleCounts {
    std::int32_t lines = 0;
    std::int32_t functions = 0;
    std::int32_t subs = 0;
};

// `stored`: the module's text as saved (UTF-8, CR LF line ends, hidden
// Attribute lines included).
ModuleCounts countStoredText(const std::string& stored);

}  // namespace ql::test
