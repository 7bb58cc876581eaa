#pragma once
// A list of object names as the analysis collects them, one per kind of
// object: each entry has its text, a selection mark and a number the
// program may attach to it.
#include <cstdint>
#include <string>
#include <vector>

namespace ql::grids {

struct NameEntry {
    std::string text;
    bool selected = false;
    std::int32_t itemData = 0;
};

class NameList {
public:
    void AddItem(std::string text, std::int32_t itemData = 0) {
        entries_.push_back(NameEntry{std::move(text), false, itemData});
    }
    void Clear() { entries_.clear(); }
    int ListCount() const { return static_cast<int>(entries_.size()); }

    // Entries are addressed from 0 to ListCount() - 1; callers stay in range.
    const std::string& List(int i) const { return entries_.at(static_cast<std::size_t>(i)).text; }
    bool Selected(int i) const { return entries_.at(static_cast<std::size_t>(i)).selected; }
    void SetSelected(int i, bool on) { entries_.at(static_cast<std::size_t>(i)).selected = on; }
    std::int32_t ItemData(int i) const { return entries_.at(static_cast<std::size_t>(i)).itemData; }
    void SetItemData(int i, std::int32_t v) { entries_.at(static_cast<std::size_t>(i)).itemData = v; }

    const std::vector<NameEntry>& entries() const { return entries_; }

private:
    std::vector<NameEntry> entries_;
};

}  // namespace ql::grids
