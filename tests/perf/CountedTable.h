#pragma once
// A database written at test time with one table, "Counted", of many small
// rows: thousands of data pages, so that a count or a scan of it reports
// progress many times over, written and read in well under a second.
#include <cstdint>
#include <filesystem>

namespace ql::test {

inline constexpr std::uint64_t kCountedRows = 120000;

// Written on the first call into a temporary folder that lives as long as
// the test program.
const std::filesystem::path& countedDatabase();

}  // namespace ql::test
