#include "tests/robustness/Damage.h"

#include <algorithm>
#include <stdexcept>

#include "platform/jet/Rc4.h"
#include "tests/support/LittleEndian.h"

namespace ql::robustness {

namespace {
constexpr std::size_t kVersionOffset = 0x14;
constexpr std::size_t kMaskOffset = 0x18;
constexpr std::size_t kMaskLength = 126;  // enough for the key in both versions
constexpr std::size_t kKeyOffset = 0x3E;
constexpr std::uint8_t kHeaderMask[4] = {0xC7, 0xDA, 0x39, 0x6B};

using test::get16;
using test::get32;
using test::put32;

void rc4(std::string& data, std::uint32_t pageKey) {
    const std::uint8_t key[4] = {static_cast<std::uint8_t>(pageKey), static_cast<std::uint8_t>(pageKey >> 8),
                                 static_cast<std::uint8_t>(pageKey >> 16), static_cast<std::uint8_t>(pageKey >> 24)};
    ql::jet::detail::Rc4(key).apply(
        std::span<std::uint8_t>(reinterpret_cast<std::uint8_t*>(data.data()), data.size()));
}

enum class Form { Page, Row };
struct Slot {
    std::size_t offset;
    Form form;
};
}  // namespace

const char* damageName(DamageKind kind) {
    switch (kind) {
        case DamageKind::Truncated: return "truncated";
        case DamageKind::RandomBytes: return "random bytes";
        case DamageKind::ZeroedPage: return "zeroed page";
        case DamageKind::PointerPastEnd: return "pointer past the end";
        case DamageKind::PointerToItself: return "chain to itself";
    }
    return "?";
}

std::string Damage::label() const {
    if (kind == DamageKind::Truncated) return "cut at byte " + std::to_string(offset);
    return std::string(damageName(kind)) + " on page " + std::to_string(page);
}

JetImage::JetImage(std::string bytes) : bytes_(std::move(bytes)) {
    if (bytes_.size() < 2048) throw std::runtime_error("not a Jet file: shorter than one page");
    pageSize_ = bytes_[kVersionOffset] == 0 ? 2048 : 4096;
    std::string mask = bytes_.substr(kMaskOffset, kMaskLength);
    ql::jet::detail::Rc4(std::span<const std::uint8_t>(kHeaderMask, 4))
        .apply(std::span<std::uint8_t>(reinterpret_cast<std::uint8_t*>(mask.data()), mask.size()));
    key_ = get32(mask, kKeyOffset - kMaskOffset);
}

std::vector<Damage> JetImage::truncations(unsigned pages, unsigned randomCuts, std::mt19937& random) const {
    std::vector<Damage> out;
    for (std::uint64_t k = 1; k <= pages && k * pageSize_ < bytes_.size(); ++k)
        out.push_back({DamageKind::Truncated, k * pageSize_, 0});
    std::uniform_int_distribution<std::uint64_t> where(1, bytes_.size() - 1);
    for (unsigned i = 0; i < randomCuts; ++i) out.push_back({DamageKind::Truncated, where(random), 0});
    return out;
}

std::vector<Damage> JetImage::pageDamages(unsigned count, std::mt19937& random) const {
    static constexpr DamageKind kinds[] = {DamageKind::RandomBytes, DamageKind::ZeroedPage, DamageKind::PointerPastEnd,
                                           DamageKind::PointerToItself};
    std::vector<Damage> out;
    // Pointers live on pages after the header; noise may hit the header too.
    std::uniform_int_distribution<std::uint32_t> anyPage(0, pageCount() - 1), laterPage(1, pageCount() - 1);
    for (unsigned i = 0; i < count; ++i) {
        const DamageKind kind = kinds[i % 4];
        const bool pointer = kind == DamageKind::PointerPastEnd || kind == DamageKind::PointerToItself;
        out.push_back({kind, 0, pointer ? laterPage(random) : anyPage(random)});
    }
    return out;
}

std::string JetImage::plainPage(std::uint32_t n) const {
    std::string page = bytes_.substr(static_cast<std::size_t>(n) * pageSize_, pageSize_);
    if (key_ != 0 && n != 0) rc4(page, key_ ^ n);
    return page;
}

void JetImage::storePage(std::string& file, std::uint32_t n, std::string plain) const {
    if (key_ != 0 && n != 0) rc4(plain, key_ ^ n);
    file.replace(static_cast<std::size_t>(n) * pageSize_, pageSize_, plain);
}

std::string JetImage::apply(const Damage& damage, std::mt19937& random) const {
    if (damage.kind == DamageKind::Truncated) return bytes_.substr(0, damage.offset);
    std::string file = bytes_;
    const std::size_t start = static_cast<std::size_t>(damage.page) * pageSize_;
    if (damage.kind == DamageKind::ZeroedPage) {
        std::fill(file.begin() + start, file.begin() + start + pageSize_, '\0');
        return file;
    }
    if (damage.kind == DamageKind::RandomBytes) {
        // Half the time the whole page, otherwise a run inside it, so that
        // the page's header often survives and its contents are what is read.
        std::uniform_int_distribution<std::size_t> pos(0, pageSize_ - 1);
        std::size_t from = 0, to = pageSize_;
        if (random() & 1) {
            from = pos(random);
            to = std::min<std::size_t>(pageSize_, from + 1 + pos(random) / 8);
        }
        for (std::size_t i = from; i < to; ++i) file[start + i] = static_cast<char>(random());
        return file;
    }

    // Find the fields of this page that hold page numbers or row pointers.
    const bool jet4 = pageSize_ == 4096;
    std::string page = plainPage(damage.page);
    std::vector<Slot> slots;
    const auto type = static_cast<std::uint8_t>(page[0]);
    if (type == 0x02) {
        slots.push_back({4, Form::Page});  // next definition page
        slots.push_back({jet4 ? 0x37u : 0x23u, Form::Row});  // owned pages map
        slots.push_back({jet4 ? 0x3Bu : 0x27u, Form::Row});  // free space map
    } else if (type == 0x03 || type == 0x04) {
        const std::size_t first = jet4 ? 0x0C : 0x08;
        for (std::size_t off = first; off <= first + 8; off += 4) slots.push_back({off, Form::Page});  // previous, next, tail
    } else if (type == 0x01) {
        const std::size_t countAt = jet4 ? 0x0C : 0x08;
        const bool longValues = page.compare(4, 4, "LVAL") == 0;
        const std::uint16_t rows = get16(page, countAt);
        for (std::uint16_t r = 0; r < rows && countAt + 2 + 2 * r + 2 <= page.size(); ++r) {
            const std::uint16_t entry = get16(page, countAt + 2 + 2 * r);
            const std::size_t at = entry & 0x1FFF;
            // Long-value rows begin with their next link; overflow rows are
            // a pointer to the moved row.
            if ((longValues || (entry & 0x4000)) && at + 4 <= page.size()) slots.push_back({at, Form::Row});
        }
        if (!longValues) slots.push_back({4, Form::Page});  // owner definition
    }
    if (slots.empty()) {
        // No known structure: bend anything that looks like a row pointer.
        for (std::size_t off = 4; off + 4 <= page.size(); ++off) {
            const std::uint32_t v = get32(page, off);
            if ((v >> 8) > 2 && (v >> 8) < pageCount() && (v & 0xFF) < 0x40) slots.push_back({off, Form::Row});
        }
    }
    if (slots.empty()) slots.push_back({4, Form::Page});
    const Slot slot = slots[std::uniform_int_distribution<std::size_t>(0, slots.size() - 1)(random)];

    std::uint32_t target = damage.page;
    if (damage.kind == DamageKind::PointerPastEnd) target = pageCount() + static_cast<std::uint32_t>(random() % 4096);
    std::uint32_t value = target;
    if (slot.form == Form::Row) {
        // Keep the row number the pointer had when bending it to this page.
        value = (target << 8) | (get32(page, slot.offset) & 0xFF);
        if (damage.kind == DamageKind::PointerToItself && type == 0x01) {
            // A long-value or overflow row that names itself.
            const std::size_t table = jet4 ? 0x0E : 0x0A;
            const std::uint16_t rows = get16(page, table - 2);
            for (std::uint16_t r = 0; r < rows && table + 2u * r + 2 <= page.size(); ++r)
                if ((get16(page, table + 2u * r) & 0x1FFF) == slot.offset) value = (target << 8) | r;
        }
    }
    put32(page, slot.offset, value);
    storePage(file, damage.page, std::move(page));
    return file;
}

}  // namespace ql::robustness
