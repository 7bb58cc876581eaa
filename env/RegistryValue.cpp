#include "env/RegistryValue.h"

#include <cstdio>

namespace ql::env {
namespace {

// The number a "&h" hexadecimal text spells to the runtime: up to four digits
// it is a 16-bit number, up to eight a 32-bit one, so "&hFFFF" is -1.
long long hexTextValue(const std::string& digits) {
    unsigned long long v = 0;
    for (char c : digits) {
        const int d = (c >= '0' && c <= '9') ? c - '0' : (c >= 'A' && c <= 'F') ? c - 'A' + 10 : 0;
        v = (v << 4) | static_cast<unsigned>(d);
    }
    if (digits.size() <= 4) return static_cast<std::int16_t>(static_cast<std::uint16_t>(v));
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(v));
}

}  // namespace

bool ReadRegistryValue(const registry::Registry& registry, registry::RootKey root,
                       const std::string& keyPath, const std::string& valueName,
                       std::string& value) {
    if (!registry.keyExists(root, keyPath)) return false;
    const auto raw = registry.queryValue(root, keyPath, valueName);
    if (!raw) return false;

    if (raw->type == registry::kTypeString) {
        std::string text(raw->data.begin(), raw->data.end());
        if (const auto zero = text.find('\0'); zero != std::string::npos) text.resize(zero);
        value = text;
    } else if (raw->type == registry::kTypeDWord) {
        // The dropped leading zeros of each byte are deliberate: 0x0105 reads
        // as the digits "0", "0", "1", "5", not "00000105".
        std::string digits;
        for (auto it = raw->data.rbegin(); it != raw->data.rend(); ++it) {
            char hex[4];
            std::snprintf(hex, sizeof hex, "%X", static_cast<unsigned>(*it));
            digits += hex;
        }
        value = std::to_string(hexTextValue(digits));
    } else {
        value.clear();
    }
    return true;
}

std::int16_t VersionFromClassName(const std::string& className) {
    std::string tail = className.size() >= 2 ? className.substr(className.size() - 2) : className;
    if (!tail.empty() && tail.front() == '.') tail.erase(0, 1);
    int v = 0;
    for (char c : tail) {
        if (c < '0' || c > '9') break;
        v = v * 10 + (c - '0');
    }
    return static_cast<std::int16_t>(v);
}

std::string GetAccessApplicationClass(const registry::Registry& registry) {
    std::string value;
    if (ReadRegistryValue(registry, registry::RootKey::LocalMachine,
                          "SOFTWARE\\Classes\\Access.Application\\CurVer", "", value))
        return value;
    return kAccessClassFallback;
}

std::string GetExcelApplicationClass(const registry::Registry& registry) {
    std::string value;
    if (ReadRegistryValue(registry, registry::RootKey::LocalMachine,
                          "SOFTWARE\\Classes\\Excel.Application\\CurVer", "", value))
        return value;
    return kExcelClassFallback;
}

std::int16_t GetExcelVersion(const registry::Registry& registry) {
    return VersionFromClassName(GetExcelApplicationClass(registry));
}

std::string GetOfficeInstallPath(const registry::Registry& registry, const std::string& application,
                                 std::int16_t* excelVersion) {
    const std::string list = kOfficeVersionList;
    const std::size_t count = list.size() / 5;
    std::string path;
    for (std::size_t i = count; i >= 1; --i) {
        std::string version = list.substr((i - 1) * 5, 4);
        version.erase(0, version.find_first_not_of(' '));
        const std::string key =
            "software\\Microsoft\\Office\\" + version + "\\" + application + "\\InstallRoot";
        if (ReadRegistryValue(registry, registry::RootKey::LocalMachine, key, "Path", path)) break;
    }
    if (excelVersion) *excelVersion = GetExcelVersion(registry);
    return path.empty() ? std::string(kOfficeFallbackFolder) : path;
}

}  // namespace ql::env
