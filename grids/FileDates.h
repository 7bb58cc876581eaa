#pragma once
// A file's dates as the file-system object service gives them: creation,
// last access and last modification, as VB dates in local time.
#include <cstdint>
#include <string>

namespace ql::grids {

inline constexpr std::int16_t kFileCreated = 1;
inline constexpr std::int16_t kFileAccessed = 2;
inline constexpr std::int16_t kFileModified = 3;

// Days since 1899-12-30, local time, whole seconds. "Created" is the birth
// time where the file system keeps one, otherwise the status change time.
// Any other selector gives the zero date. A missing file raises 53 "File
// not found".
double GetFileDate(const std::string& path, std::int16_t selector);

}  // namespace ql::grids
