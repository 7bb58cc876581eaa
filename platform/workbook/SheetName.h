#pragma once
// The rules Excel applies when a worksheet is named.
#include <optional>
#include <string>
#include <string_view>

namespace ql::workbook {

inline constexpr size_t MaxSheetNameLength = 31;  // UTF-16 code units

// Why `name` cannot name a sheet, or nothing when it can: it must hold 1 to 31
// characters, none of : \ / ? * [ ], and neither start nor end with an
// apostrophe (Excel reserves that for quoting sheet names in formulas).
// Uniqueness within the workbook is the caller's check.
std::optional<std::string> sheetNameProblem(std::u16string_view name);

// Excel compares sheet names without regard to case, also beyond ASCII: two
// names are the same when their keys are equal.
std::string sheetNameKey(std::u16string_view name);

}  // namespace ql::workbook
