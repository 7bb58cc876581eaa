// Keys of an index whose rows do not arrive in key order: gathered while the table is written,
// sorted, and handed to the index's page writer at the end.
#pragma once

#include "tools/jetwriter/IndexPages.h"
#include "tools/jetwriter/Schema.h"

#include <cstdint>
#include <cstdio>
#include <vector>

namespace ql::jetwriter {

// Whether the writer can make index keys for a column of this type. Text would need Jet's
// General sort-key tables; Byte, Boolean, binary and GUID keys follow rules we have not checked
// against a real file.
bool sortableKeyType(ColumnType t);
// Appends the key of one column value: a flag (7F value, 00 null), then the value big-endian
// arranged so that bytewise order is numeric order; a descending column inverts every byte.
void appendIndexKey(Bytes& key, ColumnType type, const Value& v, bool ascending);
// The longest key of one column of a sortable type.
std::size_t indexKeyWidth(ColumnType type);

// Memory stays bounded whatever the row count: entries fill a buffer, which is sorted and
// spilled as a run to an unnamed temporary file when full; the runs are merged at the end.
// (Written by hand: no Debian library offers an external sort of byte records.)
class IndexSorter {
public:
    // `keyWidth`: the longest key; `bufferBytes`: entries held in memory before a spill.
    explicit IndexSorter(std::size_t keyWidth, std::size_t bufferBytes = 1 << 20);
    ~IndexSorter();
    IndexSorter(const IndexSorter&) = delete;
    IndexSorter& operator=(const IndexSorter&) = delete;

    void add(const Bytes& key, std::uint32_t rowPointer);
    // Feeds every entry to `pages` ordered by key, then row pointer; returns the distinct keys.
    std::uint64_t drain(IndexPageWriter& pages);
    std::size_t runs() const { return runs_.size(); }

private:
    // A record: the key padded with zeros to keyWidth_, the row pointer big-endian (so one
    // memcmp orders by key, then page, then row), then the key's real length.
    std::size_t compareBytes() const { return keyWidth_ + 4; }
    std::size_t recordBytes() const { return keyWidth_ + 5; }
    std::vector<std::uint32_t> sortedOrder() const;
    void spill();

    std::size_t keyWidth_;
    std::size_t limit_;
    std::vector<std::uint8_t> buffer_;
    std::FILE* spillFile_ = nullptr;
    struct Run {
        std::uint64_t offset;
        std::uint64_t records;
    };
    std::vector<Run> runs_;
};

} // namespace ql::jetwriter
