#include "report/PathText.h"

#include <filesystem>
#include <vector>

namespace ql::report {

namespace {

// One entry per byte of `text`: the code point of the UTF-8 sequence the
// byte belongs to, or -1 when the byte is not part of a valid sequence.
std::vector<long> codePoints(const std::string& text) {
    std::vector<long> points(text.size(), -1);
    std::size_t i = 0;
    while (i < text.size()) {
        const auto lead = static_cast<unsigned char>(text[i]);
        std::size_t length = lead < 0x80 ? 1 : (lead >> 5) == 0x6 ? 2 : (lead >> 4) == 0xE ? 3 : (lead >> 3) == 0x1E ? 4 : 0;
        long point = length == 1 ? lead : length == 2 ? (lead & 0x1F) : length == 3 ? (lead & 0x0F) : (lead & 0x07);
        bool valid = length > 0 && i + length <= text.size();
        for (std::size_t k = 1; valid && k < length; ++k) {
            const auto next = static_cast<unsigned char>(text[i + k]);
            valid = (next & 0xC0) == 0x80;
            point = (point << 6) | (next & 0x3F);
        }
        // Overlong forms, surrogates and values past Unicode are not UTF-8.
        static const long kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
        valid = valid && point >= kSmallest[length] && point <= 0x10FFFF && !(point >= 0xD800 && point <= 0xDFFF);
        if (!valid) {
            ++i;
            continue;
        }
        for (std::size_t k = 0; k < length; ++k) points[i + k] = point;
        i += length;
    }
    return points;
}

enum class Target { XmlComment, Unicode };

// Whether byte `i` of `text` cannot stand in `target` as it is.
bool offending(const std::string& text, const std::vector<long>& points, std::size_t i, Target target) {
    const long point = points[i];
    if (point < 0) return true;
    if (target == Target::Unicode) return false;
    // XML allows no C0 control but tab, CR and LF; CR and LF would split the
    // header line (and a report is reread line by line), so they go too.
    if ((point < 0x20 && point != '\t') || point == 0xFFFE || point == 0xFFFF) return true;
    // A comment may hold no "--" and may not end in "-".
    if (text[i] == '-') return i + 1 == text.size() || text[i + 1] == '-';
    return false;
}

std::string pathText(const std::string& path, Target target) {
    const auto points = codePoints(path);
    bool clean = true;
    for (std::size_t i = 0; clean && i < path.size(); ++i) clean = !offending(path, points, i, target);
    if (clean) return path;

    std::error_code ec;
    std::string absolute = std::filesystem::absolute(path, ec).string();
    if (ec) absolute = path;
    const auto absolutePoints = codePoints(absolute);
    static const char kHex[] = "0123456789ABCDEF";
    std::string uri = "file://";
    for (std::size_t i = 0; i < absolute.size(); ++i) {
        const auto byte = static_cast<unsigned char>(absolute[i]);
        if (byte == '%' || offending(absolute, absolutePoints, i, target)) {
            uri += '%';
            uri += kHex[byte >> 4];
            uri += kHex[byte & 0xF];
        } else {
            uri += absolute[i];
        }
    }
    return uri;
}

}  // namespace

std::string xmlCommentPathText(const std::string& path) { return pathText(path, Target::XmlComment); }

std::string unicodePathText(const std::string& path) { return pathText(path, Target::Unicode); }

}  // namespace ql::report
