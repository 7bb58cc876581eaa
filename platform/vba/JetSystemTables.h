#pragma once
// The system-table rows of an open Jet database, for the VBA project reader.
#include "platform/jet/Database.h"
#include "platform/vba/SystemTableRows.h"
#include "platform/vba/VbaError.h"
#include "platform/vba/VbaProject.h"

#include <filesystem>

namespace ql::vba {

// Reads MSysModules2, MSysAccessObjects and MSysAccessStorage when asked.
// Jet errors on the table as a whole (a damaged definition) are thrown as
// ql::jet::Error, which loadVbaProject records as the project's error. A
// row that cannot be decoded is skipped, and a long value that cannot be
// read becomes a stream that fails later for its module only.
class JetSystemTables final : public SystemTableSource {
public:
    // tableLongValueBytes bounds the long values read from any one table;
    // values past it fail like unreadable ones.
    explicit JetSystemTables(const jet::Database& database,
                             std::size_t tableLongValueBytes = kMaxTableLongValueBytes)
        : db_(database), tableLongValueBytes_(tableLongValueBytes) {}

    int jetVersion() const override;
    int databaseCodePage() const override;
    std::optional<std::vector<Modules2Row>> modules2Rows() override;
    std::optional<std::vector<AccessObjectsRow>> accessObjectsRows() override;
    std::optional<std::vector<AccessStorageRow>> accessStorageRows() override;

    // Rows skipped because they could not be decoded, described.
    const std::vector<std::string>& problems() const { return problems_; }

private:
    const jet::Database& db_;
    std::size_t tableLongValueBytes_;
    std::vector<std::string> problems_;
};

// Opens the file read-only with the Jet reader and reads its VBA project:
// the opener the automation stand-in uses. Throws ql::jet::Error when the
// file cannot be opened.
VbaProject openJetProject(const std::filesystem::path& path);

}  // namespace ql::vba
