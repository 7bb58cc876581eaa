#pragma once
// TEST DATA SOURCE, used until the project's own Jet reader lands: the rows of
// the system tables that hold a VBA project, pulled out of a corpus file with
// mdbtools' library (libmdb). Only tests use this; the program never does.
#include "platform/vba/SystemTableRows.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace ql::vba::test {

// One row: column name -> value. Text and numbers as libmdb renders them
// (UTF-8 text, decimal numbers); binary and long binary columns as raw
// bytes. NULL is nullopt.
using MdbRow = std::map<std::string, std::optional<std::string>>;

// All rows of a table, or nullopt when the file has no such table. Throws
// std::runtime_error when the file cannot be opened.
std::optional<std::vector<MdbRow>> readMdbTable(const std::filesystem::path& file, const std::string& table);

// A SystemTableSource over one corpus file. The code page comes from the
// corpus manifest (libmdb does not tell it).
class MdbToolsTables final : public SystemTableSource {
public:
    MdbToolsTables(std::filesystem::path file, int databaseCodePage);
    int jetVersion() const override { return jetVersion_; }
    int databaseCodePage() const override { return codePage_; }
    std::optional<std::vector<Modules2Row>> modules2Rows() override;
    std::optional<std::vector<AccessObjectsRow>> accessObjectsRows() override;
    std::optional<std::vector<AccessStorageRow>> accessStorageRows() override;

private:
    std::filesystem::path file_;
    int codePage_;
    int jetVersion_;
};

}  // namespace ql::vba::test
