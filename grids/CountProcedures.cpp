#include "grids/CountProcedures.h"

#include <string>
#include <string_view>

#include "grids/ErrorLog.h"
#include "platform/vba/Automation.h"

namespace ql::grids {
namespace {

constexpr int kErrInvalidCall = 5;
constexpr int kErrObjectNotSet = 91;

// VBA's Trim: only the space character counts as a blank.
std::string_view trimBlanks(std::string_view text) {
    const auto first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// Left(text, InStr(text, " ") - 1): the text before the first blank. With no
// blank the length is -1, which Left refuses as an invalid call.
std::string_view textBeforeBlank(std::string_view text) {
    const auto blank = text.find(' ');
    if (blank == std::string_view::npos) throw RuntimeError(kErrInvalidCall, "Invalid procedure call or argument");
    return text.substr(0, blank);
}

std::int32_t count(const vba::AutomationModule* module, std::int16_t kind) {
    if (!module) throw RuntimeError(kErrObjectNotSet, "Object variable or With block variable not set");
    std::int32_t found = 0;
    const std::int32_t lines = module->CountOfLines();
    for (std::int32_t i = 1; i <= lines; ++i) {
        const std::string text = module->Lines(i, 1);
        const std::string_view line = trimBlanks(text);
        const auto blank = line.find(' ');
        if (blank == std::string_view::npos) continue;
        std::string_view word = line.substr(0, blank);
        const std::string_view rest = line.substr(blank + 1);
        if (word == "Public" || word == "Private") word = textBeforeBlank(rest);
        if ((kind == kCountFunctions && word == "Function") || (kind == kCountSubs && word == "Sub")) ++found;
    }
    return found;
}

}  // namespace

std::int32_t CountProcedures(const vba::AutomationModule* module, std::int16_t kind) {
    try {
        return count(module, kind);
    } catch (const std::exception& e) {
        return -asRuntimeError(e).number();
    }
}

}  // namespace ql::grids
