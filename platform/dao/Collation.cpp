// Jet's "General" ordering of names, for collections and ORDER BY. Written
// here because no Debian library knows Jet's tables; the weights follow the
// order Jet's own indexes keep names in (Jet 3 and Jet 4 differ over
// punctuation).
#include <QString>

#include <string>
#include <vector>

#include "platform/dao/Dao.h"

namespace ql::dao {
namespace {

constexpr int kIgnored = -1;

// Primary weight of an ASCII character (already folded to lower case).
int asciiWeight(char16_t c, bool jet3) {
    static const std::u16string jet4Punctuation = u"!\"#$%&()*,./:;?@[\\]^_`{|}~";
    static const std::u16string jet4Operators = u"+<=>";
    if (c >= u'0' && c <= u'9') return 200 + (c - u'0');
    if (c >= u'a' && c <= u'z') return 300 + (c - u'a');
    if (jet3) {
        if (c == 0x7F) return 0;
        if (c < 0x20) return kIgnored;
        return 1 + static_cast<int>(c);  // space and punctuation in code order, all below digits
    }
    if (c == u'\'' || c == u'-') return kIgnored;
    if (c == u' ') return 1;
    if (c >= 0x09 && c <= 0x0D) return 2 + (c - 0x09);
    if (c < 0x20 || c == 0x7F) return kIgnored;
    if (auto p = jet4Punctuation.find(c); p != std::u16string::npos) return 20 + static_cast<int>(p);
    if (auto p = jet4Operators.find(c); p != std::u16string::npos) return 100 + static_cast<int>(p);
    return 150;
}

struct SortKey {
    std::vector<int> primary;
    std::vector<int> secondary;  // what the first level set aside: accents, ignored characters
};

SortKey sortKey(const std::string& text, bool jet3) {
    SortKey key;
    const QString folded = QString::fromUtf8(text).normalized(QString::NormalizationForm_D).toCaseFolded();
    int position = 0;
    for (QChar ch : folded) {
        const char16_t c = ch.unicode();
        ++position;
        if (ch.category() == QChar::Mark_NonSpacing) {
            key.secondary.push_back(position * 0x10000 + c);
            continue;
        }
        const int weight = c < 0x80 ? asciiWeight(c, jet3) : 1000 + c;
        if (weight == kIgnored) {
            key.secondary.push_back(position * 0x10000 + c);
            continue;
        }
        key.primary.push_back(weight);
    }
    return key;
}

}  // namespace

int compareNames(const std::string& a, const std::string& b, bool jet3) {
    const SortKey ka = sortKey(a, jet3), kb = sortKey(b, jet3);
    if (ka.primary != kb.primary) return ka.primary < kb.primary ? -1 : 1;
    // A name with something set aside sorts after the same name without it.
    if (ka.secondary != kb.secondary) {
        if (ka.secondary.empty()) return -1;
        if (kb.secondary.empty()) return 1;
        return ka.secondary < kb.secondary ? -1 : 1;
    }
    return 0;
}

}  // namespace ql::dao
