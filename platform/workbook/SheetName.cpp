#include "platform/workbook/SheetName.h"

#include <glib.h>

#include <memory>

#include "platform/text/Unicode.h"

namespace ql::workbook {

std::optional<std::string> sheetNameProblem(std::u16string_view name) {
    if (name.empty()) return std::string("A sheet name cannot be empty.");
    if (name.size() > MaxSheetNameLength)
        return "The sheet name '" + text::toUtf8(name) + "' is longer than 31 characters.";
    for (char16_t c : name) {
        if (std::u16string_view(u":\\/?*[]").find(c) != std::u16string_view::npos)
            return "The sheet name '" + text::toUtf8(name) +
                   "' contains one of the characters : \\ / ? * [ ] that sheet names cannot hold.";
    }
    if (name.front() == u'\'' || name.back() == u'\'')
        return "The sheet name '" + text::toUtf8(name) + "' begins or ends with an apostrophe.";
    return std::nullopt;
}

std::string sheetNameKey(std::u16string_view name) {
    const std::string utf8 = text::toUtf8(name);
    std::unique_ptr<gchar, decltype(&g_free)> folded(
        g_utf8_casefold(utf8.data(), static_cast<gssize>(utf8.size())), &g_free);
    return folded ? std::string(folded.get()) : utf8;
}

}  // namespace ql::workbook
