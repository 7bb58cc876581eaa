#pragma once
// Probes of the machine the program runs on (the dbFunctions helpers): the
// Windows version code, the system folder, the logged-on user and the
// front end's per-user folder, the folder part of a path. The raw facts come
// from a SystemProbe so that tests can play any machine.
#include <cstdint>
#include <optional>
#include <string>

namespace ql::env {

// What the platform's version query reports.
struct VersionInfo {
    std::uint32_t platformId = 0;
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
};

class SystemProbe {
public:
    virtual ~SystemProbe() = default;
    // Nothing when the version query fails.
    virtual std::optional<VersionInfo> versionInfo() const = 0;
    // The system folder, without a trailing separator.
    virtual std::string windowsDirectory() const = 0;
    virtual std::string userName() const = 0;
};

// Linux: the version query fails (this is not Windows), the system program
// folder is /usr/bin, and the user is the account of the effective user id.
class LinuxSystemProbe : public SystemProbe {
public:
    std::optional<VersionInfo> versionInfo() const override;
    std::string windowsDirectory() const override;
    std::string userName() const override;
};

// Version codes: 0 unknown (also Win32s and every NT from 5.2 on), 1 Windows
// 95, 2 98, 3 Me, 4 NT 4 and older, 5 2000, 6 XP.
std::int16_t WindowsVersionCode(const std::optional<VersionInfo>& info);
std::int16_t GetWindowsVersion(const SystemProbe& probe);
std::string GetWindowsVersionName(std::int16_t code);
// The system folder followed by "/".
std::string GetWindowsFolder(const SystemProbe& probe);
// The text before the first zero character, at most 254 characters.
std::string GetLoginUserName(const SystemProbe& probe);
// Windows XP keeps the front end's per-user files under the user's profile;
// for every other code the Windows folder stands in.
std::string GetAccessUserFolder(const std::string& userName, std::int16_t windowsVersion,
                                const std::string& windowsFolder);
// The path up to and including its last "/"; empty for a bare name.
std::string GetFolderOfPath(const std::string& path);

}  // namespace ql::env
