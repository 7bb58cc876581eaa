// A few page-level reads of a written file, for checks mdbtools cannot make (it never reads
// index pages, and it hides how usage maps and long values are laid out).
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
    // Page 0 with the masked area restored.
    std::vector<std::uint8_t> header() const;
    // The bytes of a row (page << 8 | row), honouring the row-offset table.
    std::vector<std::uint8_t> row(std::uint32_t pointer) const;
    // A table definition with its continuation pages joined.
    std::vector<std::uint8_t> tdef(std::uint32_t page) const;
    // Pages a usage-map row marks (inline or reference form).
    std::vector<std::uint32_t> usageMapPages(const std::vector<std::uint8_t>& map) const;

    // Every row of the table defined at `tdefPage`, in page order, through its owned map.
    std::vector<std::vector<std::uint8_t>> tableRows(std::uint32_t tdefPage) const;
    // A variable-length field of a Jet 4 row, or nothing when the row has fewer fields.
    static std::vector<std::uint8_t> variableField(const std::vector<std::uint8_t>& row, std::size_t columns,
                                                   std::size_t varIndex);

    struct IndexEntry {
        std::vector<std::uint8_t> key;
        std::uint32_t pointer;
    };
    // Every leaf entry of the index rooted at `root`, leftmost leaf first then along the chain.
    // A `keySize` other than 0 requires every key to have that length.
    std::vector<IndexEntry> indexEntries(std::uint32_t root, std::size_t keySize) const;

private:
    // Mapped, so that a sparse test file of many empty pages costs nothing to open.
    const std::uint8_t* data_ = nullptr;
    std::size_t size_ = 0;
};

std::uint16_t le16(const std::uint8_t* p);
std::uint32_t le32(const std::uint8_t* p);

} // namespace ql::jetwriter::test
