#pragma once
// Damaged copies of a real Jet file, made the way files get damaged: a copy
// cut short, a page overwritten by noise or zeros, a page or row number that
// points past the end of the file, a chain that points back to itself.
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace ql::robustness {

enum class DamageKind { Truncated, RandomBytes, ZeroedPage, PointerPastEnd, PointerToItself };
const char* damageName(DamageKind kind);

struct Damage {
    DamageKind kind;
    std::uint64_t offset = 0;  // truncation: the new size
    std::uint32_t page = 0;    // the page changed
    std::string label() const;
};

class JetImage {
public:
    explicit JetImage(std::string bytes);

    std::uint32_t pageSize() const { return pageSize_; }
    std::uint32_t pageCount() const { return static_cast<std::uint32_t>(bytes_.size() / pageSize_); }
    const std::string& bytes() const { return bytes_; }

    // Cuts at every page boundary of the first `pages` pages (1 .. pages)
    // and at `randomCuts` offsets drawn from the whole file.
    std::vector<Damage> truncations(unsigned pages, unsigned randomCuts, std::mt19937& random) const;
    // `count` single-page damages, the kinds in turn, pages drawn at random.
    std::vector<Damage> pageDamages(unsigned count, std::mt19937& random) const;

    // The damaged file. `random` gives the noise and the choice of the
    // pointer that is bent; the same generator state gives the same bytes.
    std::string apply(const Damage& damage, std::mt19937& random) const;

private:
    // Page n as the reader sees it (decrypted) and back.
    std::string plainPage(std::uint32_t n) const;
    void storePage(std::string& file, std::uint32_t n, std::string plain) const;

    std::string bytes_;
    std::uint32_t pageSize_ = 4096;
    std::uint32_t key_ = 0;  // page encryption key; 0 = none
};

}  // namespace ql::robustness
