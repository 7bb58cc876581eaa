#pragma once
// A module's text as the code editor shows it, numbered as Access numbers it
// for Module.CountOfLines and Module.Lines: every visible line counts, blank
// ones included; the hidden `Attribute` lines that the stored text carries
// do not.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ql::vba {

class ModuleSource {
public:
    ModuleSource() = default;
    // stored: the decompressed text, bytes in codePage (0: windows-1252).
    ModuleSource(std::string_view stored, int codePage);

    std::int32_t countOfLines() const { return static_cast<std::int32_t>(lines_.size()); }

    // Lines start..start+count-1 (1-based) joined with CR LF, as UTF-8.
    // Lines past the end are left out. Throws std::out_of_range when start
    // is below 1 or count below 1.
    std::string lines(std::int32_t start, std::int32_t count) const;

    const std::vector<std::string>& visibleLines() const { return lines_; }

    // The whole stored text decoded to UTF-8, hidden lines included (what a
    // module exported to a .bas file holds).
    const std::string& storedText() const { return stored_; }

    // True when some byte of the text was not valid in its code page.
    bool hasUndecodableBytes() const { return undecodable_; }

private:
    std::vector<std::string> lines_;
    std::string stored_;
    bool undecodable_ = false;
};

// True for a hidden line: `Attribute <name> = ...` starting in column 1.
bool isAttributeLine(std::string_view line);

}  // namespace ql::vba
