#include "tests/tools/JetFileReader.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <stdexcept>

namespace ql::jetwriter::test {

std::uint16_t le16(const std::uint8_t* p) { return static_cast<std::uint16_t>(p[0] | p[1] << 8); }
std::uint32_t le32(const std::uint8_t* p)
{
    return std::uint32_t(p[0]) | std::uint32_t(p[1]) << 8 | std::uint32_t(p[2]) << 16 | std::uint32_t(p[3]) << 24;
}

JetFileReader::JetFileReader(const std::string& path)
{
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) throw std::runtime_error("cannot open " + path);
    struct stat st {};
    fstat(fd, &st);
    size_ = static_cast<std::size_t>(st.st_size);
    if (size_ == 0 || size_ % 4096) {
        ::close(fd);
        throw std::runtime_error("not a whole number of pages: " + path);
    }
    void* m = mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, fd, 0);
    ::close(fd);
    if (m == MAP_FAILED) throw std::runtime_error("cannot map " + path);
    data_ = static_cast<const std::uint8_t*>(m);
}

JetFileReader::~JetFileReader() { munmap(const_cast<std::uint8_t*>(data_), size_); }

const std::uint8_t* JetFileReader::page(std::uint32_t n) const
{
    if (n >= pageCount()) throw std::out_of_range("page " + std::to_string(n) + " past the end");
    return data_ + std::size_t(n) * 4096;
}

std::vector<std::uint8_t> JetFileReader::row(std::uint32_t pointer) const
{
    const std::uint8_t* p = page(pointer >> 8);
    const unsigned r = pointer & 0xFF;
    if (p[0] != 0x01) throw std::runtime_error("row pointer to a page that is not a data page");
    if (r >= le16(p + 12)) throw std::runtime_error("row number past the page's row count");
    const unsigned start = le16(p + 14 + 2 * r) & 0x1FFF;
    const unsigned end = r == 0 ? 4096 : le16(p + 14 + 2 * (r - 1)) & 0x1FFF;
    if (start > end) throw std::runtime_error("row offsets out of order");
    return {p + start, p + end};
}

std::vector<std::uint32_t> JetFileReader::usageMapPages(const std::vector<std::uint8_t>& map) const
{
    std::vector<std::uint32_t> out;
    if (map.empty()) throw std::runtime_error("empty usage map");
    if (map[0] == 0) {
        const std::uint32_t start = le32(map.data() + 1);
        for (std::size_t i = 0; i < (map.size() - 5) * 8; ++i)
            if (map[5 + i / 8] >> (i % 8) & 1) out.push_back(start + static_cast<std::uint32_t>(i));
    } else if (map[0] == 1) {
        for (std::size_t j = 0; 1 + 4 * j + 4 <= map.size(); ++j) {
            const std::uint32_t mp = le32(map.data() + 1 + 4 * j);
            if (!mp) continue;
            const std::uint8_t* b = page(mp);
            if (b[0] != 0x05) throw std::runtime_error("reference map points at a non-map page");
            for (std::uint32_t i = 0; i < (4096 - 4) * 8; ++i)
                if (b[4 + i / 8] >> (i % 8) & 1) out.push_back(static_cast<std::uint32_t>(j) * (4096 - 4) * 8 + i);
        }
    } else {
        throw std::runtime_error("unknown usage map type");
    }
    return out;
}

std::vector<JetFileReader::IndexEntry> JetFileReader::indexEntries(std::uint32_t root) const
{
    // Entry boundaries come from the page bitmap, read the way mdbtools reads it.
    // Keys of any length (nulls are one byte); the entry's tail is the pointer.
    auto entries = [&](const std::uint8_t* p) {
        std::vector<std::pair<std::size_t, std::size_t>> spans;
        std::size_t start = 0;
        for (std::size_t k = 1; k < (0x1E0 - 0x1B) * 8; ++k) {
            if (p[0x1B + k / 8] >> (k % 8) & 1) {
                spans.emplace_back(0x1E0 + start, k - start);
                start = k;
            }
        }
        return spans;
    };
    std::uint32_t pg = root;
    for (int depth = 0; page(pg)[0] == 0x03; ++depth) {
        if (depth > 10) throw std::runtime_error("index too deep");
        const auto spans = entries(page(pg));
        if (spans.empty()) throw std::runtime_error("empty node page");
        const std::uint8_t* e = page(pg) + spans.front().first + spans.front().second - 4;
        pg = std::uint32_t(e[0]) << 24 | std::uint32_t(e[1]) << 16 | std::uint32_t(e[2]) << 8 | e[3];
    }
    std::vector<IndexEntry> out;
    for (std::uint32_t hops = 0; pg; ++hops) {
        const std::uint8_t* p = page(pg);
        if (p[0] != 0x04 || hops > pageCount()) throw std::runtime_error("broken leaf chain");
        for (const auto& [at, len] : entries(p)) {
            if (len < 5) throw std::runtime_error("index entry too short");
            const std::uint8_t* e = p + at;
            const std::size_t k = len - 4;
            IndexEntry ie;
            ie.key.assign(e, e + k);
            ie.pointer = (std::uint32_t(e[k]) << 16 | std::uint32_t(e[k + 1]) << 8 | e[k + 2]) << 8 | e[k + 3];
            out.push_back(std::move(ie));
        }
        pg = le32(p + 0x10);
    }
    return out;
}

} // namespace ql::jetwriter::test
