// Synthetic databases for benchmarks and tests: the same seed gives the same bytes.
#pragma once

#include "tools/jetwriter/Database.h"

#include <cstdint>
#include <string>

namespace ql::jetwriter {

struct GeneratorOptions {
    std::string out;
    std::uint64_t seed = 1;
    // Rows of the large table "Orders"; when targetBytes is set, rows are added until the file
    // reaches that size instead.
    std::uint64_t rows = 1000;
    std::uint64_t targetBytes = 0;
    // Tables in all, counting Orders and Customers (at least 2).
    std::uint32_t tables = 5;
    std::uint32_t queries = 4;
    bool relationships = true;
    // Extra table "Wide" with this many columns (0 = none): enough columns need a definition
    // spread over several pages.
    std::uint32_t wideColumns = 0;
    // Fewer and shorter notes (0.2 % one LVAL row, 0.01 % chains instead of 14.5 % and 0.5 %;
    // short ones up to 20 characters, not 60) and fewer attachments: about 210 bytes a row with
    // the pages of the three indexes, so that 10 million rows fit Jet's 2 GB limit.
    bool lightMemos = false;
    DatabaseOptions database;
};

struct GeneratorReport {
    std::uint64_t orderRows = 0;
    std::uint64_t customerRows = 0;
    std::uint32_t tables = 0;
    std::uint64_t bytes = 0;
};

GeneratorReport generate(const GeneratorOptions& options);

// The definition of Orders and the values of its row `i`, so that a test can rebuild what was
// written without keeping it.
TableDef ordersTable();
Row ordersRow(std::uint64_t seed, std::uint64_t i, std::uint64_t customers, bool lightMemos = false);
TableDef customersTable();
Row customersRow(std::uint64_t seed, std::uint64_t i);

} // namespace ql::jetwriter
