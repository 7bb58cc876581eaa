#pragma once
// The program's registry reader and the probes built on it: the installed
// Office folders and the versions of the front end and the spreadsheet from
// their registered automation classes.
#include <cstdint>
#include <string>

#include "platform/registry/Registry.h"

namespace ql::env {

// Reads one value. Text: the bytes up to the terminating zero. Double word:
// its bytes from the last to the first, each in hexadecimal without a
// leading zero, joined and read back as a hexadecimal number, written in
// decimal (so 261, bytes 05 01 00 00, reads "0015" and gives "21"). Other
// types read as an empty text. Returns false when the key or the value is
// missing; `value` is then left alone.
bool ReadRegistryValue(const registry::Registry& registry, registry::RootKey root,
                       const std::string& keyPath, const std::string& valueName,
                       std::string& value);

// The number the last two characters of a registered class name spell
// ("Access.Application.11" gives 11, "Access.Application.9" gives 9); only
// the leading digits count, as the runtime's Val reads them.
std::int16_t VersionFromClassName(const std::string& className);

inline constexpr const char* kAccessClassFallback = "Access.Application.9";
inline constexpr const char* kExcelClassFallback = "Excel.Application.9";

// The registered automation class of the front end / the spreadsheet.
std::string GetAccessApplicationClass(const registry::Registry& registry);
std::string GetExcelApplicationClass(const registry::Registry& registry);
std::int16_t GetExcelVersion(const registry::Registry& registry);

// The versions tried, oldest first, in 5-character slots.
inline constexpr const char* kOfficeVersionList = " 5.0, 6.0, 7.0, 8.0, 9.0,10.0,11.0,";
inline constexpr const char* kOfficeFallbackFolder = "c:/program files/microsoft office/officex/";

// The install folder of an Office application ("Excel"), newest version
// first; the fixed fallback folder when none is registered. Also refreshes
// `excelVersion` when given.
std::string GetOfficeInstallPath(const registry::Registry& registry, const std::string& application,
                                 std::int16_t* excelVersion = nullptr);

}  // namespace ql::env
