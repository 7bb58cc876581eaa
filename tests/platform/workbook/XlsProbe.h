#pragma once
// What an independent reader (python3-xlrd, run by xls_probe.py) finds in a
// saved workbook, plus the record-structure checks of that script.
#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace ql::workbook::test {

struct ProbedCell {
    std::string type;  // "text", "number" or "other"
    std::string text;  // UTF-8, for text cells
    double number = 0;
};

struct ProbedSheet {
    std::string name;
    bool selected = false;
    std::map<std::pair<int, int>, ProbedCell> cells;  // zero-based (row, column)
};

struct ProbedWorkbook {
    std::vector<ProbedSheet> sheets;
    std::vector<std::string> problems;  // structural faults found in the stream
    int continueRecords = 0;
    int extSstBuckets = 0;
    long long streamSize = 0;
};

// Throws std::runtime_error with the reader's complaint when it cannot read
// the file.
ProbedWorkbook probeXls(const std::filesystem::path& file);

}  // namespace ql::workbook::test
