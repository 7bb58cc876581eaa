#pragma once
// Writing an OLE2 compound file (the container of Excel 97-2003 workbooks).
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ql::workbook {

struct NamedStream {
    std::string name;  // stream name at the root storage, such as "Workbook"
    std::string_view bytes;
};

using ClassId = std::array<uint8_t, 16>;  // as stored in the file (little-endian fields)

// The class of the root storage that marks a compound file as an Excel
// workbook ({00020820-0000-0000-C000-000000000046}).
inline constexpr ClassId ExcelWorkbookClassId = {0x20, 0x08, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00,
                                                 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46};

// Writes `streams` into a new compound file at `path`, replacing any file
// there. The file is written aside and moved into place when complete, so a
// failure leaves an existing file as it was. Raises std::runtime_error with
// the system's reason when the file cannot be written.
void writeCompoundFile(const std::string& path, const std::vector<NamedStream>& streams,
                       const std::optional<ClassId>& rootClass = std::nullopt);

}  // namespace ql::workbook
