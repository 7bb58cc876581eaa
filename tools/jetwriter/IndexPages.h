// Leaf and node pages of one index, built from keys that arrive in ascending order.
#pragma once

#include "tools/jetwriter/Bytes.h"
#include "tools/jetwriter/PageFile.h"
#include "tools/jetwriter/UsageMap.h"

#include <cstdint>
#include <vector>

namespace ql::jetwriter {

// Sort key of a Long for an ascending index column: a "value present" flag, then the value
// big-endian with the sign bit flipped, so that bytewise order is numeric order.
Bytes longIndexKey(std::int32_t v);

class IndexPageWriter {
public:
    IndexPageWriter(PageFile& file, std::uint32_t tdefPage) : file_(file), tdef_(tdefPage) {}
    // `key` must not sort before the previous one; `rowPointer` is page << 8 | row.
    void add(const Bytes& key, std::uint32_t rowPointer);
    bool accepts(const Bytes& key) const { return !any_ || !(key < lastKey_); }
    // Writes the remaining leaf and the node levels above the leaves; returns the root page.
    // An index without entries gets one empty leaf as its root.
    std::uint32_t finish();
    const PageSet& pages() const { return pages_; }

private:
    struct Entry {
        Bytes key;
        std::uint32_t rowPointer;
        std::uint32_t child; // node entries only
    };
    struct Level {
        std::vector<Entry> entries;
        std::size_t bytes = 0;
        std::uint32_t page = 0; // allocated when the level's current page is started
        std::uint32_t prev = 0;
    };
    std::size_t entrySize(const Entry& e, bool node) const;
    void push(std::size_t level, Entry e);
    void flushLevel(std::size_t level, std::uint32_t next);
    void writePage(std::uint32_t page, bool node, const std::vector<Entry>& entries, std::uint32_t prev,
                   std::uint32_t next);

    PageFile& file_;
    std::uint32_t tdef_;
    std::vector<Level> levels_;
    Bytes lastKey_;
    bool any_ = false;
    PageSet pages_;
};

} // namespace ql::jetwriter
