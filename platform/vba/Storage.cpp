#include "platform/vba/Storage.h"

#include "platform/vba/VbaError.h"

namespace ql::vba {

bool Storage::hasStream(const StoragePath& path) const {
    if (path.empty()) return false;
    const StoragePath parent(path.begin(), path.end() - 1);
    try {
        for (const auto& entry : children(parent))
            if (!entry.isStorage && sameEntryName(entry.name, path.back())) return true;
    } catch (const VbaError&) {
        return false;
    }
    return false;
}

bool sameEntryName(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        char x = a[i], y = b[i];
        if (x >= 'a' && x <= 'z') x = static_cast<char>(x - 'a' + 'A');
        if (y >= 'a' && y <= 'z') y = static_cast<char>(y - 'a' + 'A');
        if (x != y) return false;
    }
    return true;
}

std::string describePath(const StoragePath& path) {
    std::string out;
    for (const auto& part : path) {
        if (!out.empty()) out += '/';
        out += part;
    }
    return out.empty() ? "/" : out;
}

}  // namespace ql::vba
