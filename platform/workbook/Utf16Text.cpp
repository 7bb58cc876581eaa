#include "platform/workbook/Utf16Text.h"

#include <glib.h>

#include <memory>

namespace ql::workbook {

namespace {

struct GFreeDeleter {
    void operator()(void* p) const { g_free(p); }
};

}  // namespace

// GLib is already linked through libgsf and knows UTF-8 validation and
// repair, so it does the conversion rather than a hand-written decoder.
std::u16string toUtf16(std::string_view utf8) {
    if (utf8.empty()) return {};
    std::unique_ptr<gchar, GFreeDeleter> valid(
        g_utf8_make_valid(utf8.data(), static_cast<gssize>(utf8.size())));
    // NUL bytes come out as U+FFFD as well, so the repaired text converts as
    // one C string.
    glong written = 0;
    std::unique_ptr<gunichar2, GFreeDeleter> units(
        g_utf8_to_utf16(valid.get(), -1, nullptr, &written, nullptr));
    if (!units) return {};
    return std::u16string(reinterpret_cast<const char16_t*>(units.get()),
                          static_cast<size_t>(written));
}

std::string toUtf8(std::u16string_view utf16) {
    std::string out;
    out.reserve(utf16.size());
    auto put = [&out](char32_t c) {
        char buf[6];
        const gint n = g_unichar_to_utf8(static_cast<gunichar>(c), buf);
        out.append(buf, static_cast<size_t>(n));
    };
    for (size_t i = 0; i < utf16.size(); ++i) {
        const char16_t u = utf16[i];
        if (u >= 0xD800 && u <= 0xDBFF && i + 1 < utf16.size() && utf16[i + 1] >= 0xDC00 &&
            utf16[i + 1] <= 0xDFFF) {
            put(0x10000 + ((char32_t(u) - 0xD800) << 10) + (char32_t(utf16[i + 1]) - 0xDC00));
            ++i;
        } else if (u >= 0xD800 && u <= 0xDFFF) {
            put(0xFFFD);
        } else {
            put(u);
        }
    }
    return out;
}

}  // namespace ql::workbook
