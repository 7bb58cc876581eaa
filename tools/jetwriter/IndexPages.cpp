#include "tools/jetwriter/IndexPages.h"

#include <stdexcept>

namespace ql::jetwriter {

namespace {
constexpr std::size_t kBitmapAt = 0x1B;
constexpr std::size_t kEntriesAt = 0x1E0;
constexpr std::size_t kEntrySpace = kPageSize - kEntriesAt;
} // namespace

Bytes longIndexKey(std::int32_t v)
{
    const std::uint32_t u = static_cast<std::uint32_t>(v) ^ 0x80000000u;
    return Bytes{0x7F, static_cast<std::uint8_t>(u >> 24), static_cast<std::uint8_t>(u >> 16),
                 static_cast<std::uint8_t>(u >> 8), static_cast<std::uint8_t>(u)};
}

std::size_t IndexPageWriter::entrySize(const Entry& e, bool node) const { return e.key.size() + 4 + (node ? 4 : 0); }

void IndexPageWriter::add(const Bytes& key, std::uint32_t rowPointer)
{
    if (any_ && key < lastKey_) throw std::invalid_argument("index keys must arrive in ascending order");
    lastKey_ = key;
    any_ = true;
    push(0, Entry{key, rowPointer, 0});
}

void IndexPageWriter::push(std::size_t level, Entry e)
{
    if (levels_.size() <= level) levels_.resize(level + 1);
    const bool node = level > 0;
    const std::size_t size = entrySize(e, node);
    if (levels_[level].page == 0) {
        levels_[level].page = file_.allocate();
        pages_.add(levels_[level].page);
    }
    if (levels_[level].bytes + size > kEntrySpace) {
        const std::uint32_t next = file_.allocate();
        pages_.add(next);
        flushLevel(level, next);
        levels_[level].page = next;
    }
    levels_[level].bytes += size;
    levels_[level].entries.push_back(std::move(e));
}

void IndexPageWriter::flushLevel(std::size_t level, std::uint32_t next)
{
    Level& l = levels_[level];
    writePage(l.page, level > 0, l.entries, l.prev, next);
    // The parent level points at this page through its last entry.
    Entry up = l.entries.back();
    up.child = l.page;
    l.prev = l.page;
    l.entries.clear();
    l.bytes = 0;
    push(level + 1, std::move(up));
}

std::uint32_t IndexPageWriter::finish()
{
    if (levels_.empty()) {
        const std::uint32_t root = file_.allocate();
        pages_.add(root);
        writePage(root, false, {}, 0, 0);
        return root;
    }
    for (std::size_t level = 0;; ++level) {
        Level& l = levels_[level];
        if (level + 1 == levels_.size() && l.prev == 0) {
            // The only page of the top level is the root.
            writePage(l.page, level > 0, l.entries, 0, 0);
            return l.page;
        }
        flushLevel(level, 0);
    }
}

void IndexPageWriter::writePage(std::uint32_t page, bool node, const std::vector<Entry>& entries,
                                std::uint32_t prev, std::uint32_t next)
{
    Bytes p(kPageSize, 0);
    p[0] = node ? 0x03 : 0x04;
    p[1] = 0x01;
    set32(p.data() + 0x04, tdef_);
    set32(p.data() + 0x0C, prev);
    set32(p.data() + 0x10, next);
    set32(p.data() + 0x14, 0);  // tail page: every child is listed as an entry
    set16(p.data() + 0x18, 0);  // no shared prefix
    std::size_t at = 0;
    for (const Entry& e : entries) {
        std::uint8_t* d = p.data() + kEntriesAt + at;
        std::memcpy(d, e.key.data(), e.key.size());
        d += e.key.size();
        const std::uint32_t pg = e.rowPointer >> 8;
        d[0] = static_cast<std::uint8_t>(pg >> 16);
        d[1] = static_cast<std::uint8_t>(pg >> 8);
        d[2] = static_cast<std::uint8_t>(pg);
        d[3] = static_cast<std::uint8_t>(e.rowPointer);
        if (node) {
            d[4] = static_cast<std::uint8_t>(e.child >> 24);
            d[5] = static_cast<std::uint8_t>(e.child >> 16);
            d[6] = static_cast<std::uint8_t>(e.child >> 8);
            d[7] = static_cast<std::uint8_t>(e.child);
        }
        at += entrySize(e, node);
        // A set bit k marks an entry boundary at kEntriesAt + k; the last one marks the end.
        p[kBitmapAt + at / 8] |= static_cast<std::uint8_t>(1u << (at % 8));
    }
    set16(p.data() + 2, static_cast<std::uint16_t>(kEntrySpace - at));
    file_.write(page, p);
}

} // namespace ql::jetwriter
