#include "env/Probes.h"

#include <vector>

#include <pwd.h>
#include <unistd.h>

namespace ql::env {
namespace {

// The platform fills at most this many characters of the 255-character
// buffers the probes pass.
constexpr std::size_t kBufferChars = 254;

}  // namespace

std::optional<VersionInfo> LinuxSystemProbe::versionInfo() const { return std::nullopt; }

std::string LinuxSystemProbe::windowsDirectory() const { return "/usr/bin"; }

std::string LinuxSystemProbe::userName() const {
    long size = ::sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(size > 0 ? static_cast<std::size_t>(size) : 16384);
    passwd entry{};
    passwd* found = nullptr;
    if (::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found &&
        found->pw_name)
        return found->pw_name;
    // An account without a password-database entry (some containers).
    return std::to_string(::geteuid());
}

std::int16_t WindowsVersionCode(const std::optional<VersionInfo>& info) {
    if (!info) return 0;
    switch (info->platformId) {
    case 1:
        if (info->minor == 0) return 1;
        if (info->minor == 10) return 2;
        if (info->minor == 90) return 3;
        return 0;
    case 2:
        if (info->major < 5) return 4;
        if (info->major == 5 && info->minor == 0) return 5;
        if (info->major == 5 && info->minor == 1) return 6;
        return 0;
    default:
        return 0;
    }
}

std::int16_t GetWindowsVersion(const SystemProbe& probe) {
    return WindowsVersionCode(probe.versionInfo());
}

std::string GetWindowsVersionName(std::int16_t code) { return code == 0 ? "Unknown" : "Windows"; }

std::string GetWindowsFolder(const SystemProbe& probe) {
    auto folder = probe.windowsDirectory();
    if (folder.size() > kBufferChars) folder.resize(kBufferChars);
    return folder + "/";
}

std::string GetLoginUserName(const SystemProbe& probe) {
    auto name = probe.userName();
    if (name.size() > kBufferChars) name.resize(kBufferChars);
    if (const auto zero = name.find('\0'); zero != std::string::npos) name.resize(zero);
    return name;
}

std::string GetAccessUserFolder(const std::string& userName, std::int16_t windowsVersion,
                                const std::string& windowsFolder) {
    if (windowsVersion == 6)
        return "C:/Documents and Settings/" + userName + "/Application Data/Microsoft/Access";
    return windowsFolder;
}

std::string GetFolderOfPath(const std::string& path) {
    const auto last = path.rfind('/');
    return last == std::string::npos ? std::string() : path.substr(0, last + 1);
}

}  // namespace ql::env
