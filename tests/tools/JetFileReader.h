// A few page-level reads of a written file, for checks neither mdbtools nor the project's reader
// make: index leaf pages, and the pages a usage map lists.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ql::jetwriter::test {

class JetFileReader {
public:
    explicit JetFileReader(const std::string& path);
    ~JetFileReader();
    JetFileReader(const JetFileReader&) = delete;
    JetFileReader& operator=(const JetFileReader&) = delete;
    std::size_t pageCount() const { return size_ / 4096; }
    const std::uint8_t* page(std::uint32_t n) const;
    // The bytes of a row (page << 8 | row), honouring the row-offset table.
    std::vector<std::uint8_t> row(std::uint32_t pointer) const;
    // Pages a usage-map row marks (inline or reference form).
    std::vector<std::uint32_t> usageMapPages(const std::vector<std::uint8_t>& map) const;

    struct IndexEntry {
        std::vector<std::uint8_t> key;
        std::uint32_t pointer;
    };
    // Every leaf entry of the index rooted at `root`, leftmost leaf first then along the chain.
    std::vector<IndexEntry> indexEntries(std::uint32_t root) const;

private:
    // Mapped, so that a sparse test file of many empty pages costs nothing to open.
    const std::uint8_t* data_ = nullptr;
    std::size_t size_ = 0;
};

std::uint16_t le16(const std::uint8_t* p);
std::uint32_t le32(const std::uint8_t* p);

} // namespace ql::jetwriter::test
