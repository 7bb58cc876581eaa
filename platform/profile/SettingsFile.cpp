#include "platform/profile/SettingsFile.h"

#include "platform/profile/ProfileFile.h"

#include <system_error>
#include <vector>

#include <pwd.h>
#include <unistd.h>

#include "platform/text/Names.h"

namespace ql::profile {
namespace {

bool writableFolder(const std::filesystem::path& folder) {
    return !folder.empty() && ::access(folder.c_str(), W_OK | X_OK) == 0;
}

}  // namespace

SettingsFile::SettingsFile(std::filesystem::path programFolder, std::filesystem::path userFolder,
                           WritableTest writable)
    : programFolder_(std::move(programFolder)),
      userFolder_(std::move(userFolder)),
      writable_(writable ? std::move(writable) : WritableTest(writableFolder)) {}

std::filesystem::path SettingsFile::defaultUserFolder() {
    std::string home;
    long size = ::sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(size > 0 ? static_cast<std::size_t>(size) : 16384);
    passwd entry{};
    passwd* found = nullptr;
    if (::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found &&
        found->pw_dir)
        home = found->pw_dir;
    if (home.empty()) home = "/tmp";
    return std::filesystem::path(home) / ".config" / "quarrylantern";
}

std::filesystem::path SettingsFile::folder() const {
    return writable_(programFolder_) ? programFolder_ : userFolder_;
}

std::filesystem::path SettingsFile::path(std::string_view spelledName) const {
    const auto dir = folder();
    std::error_code ec;
    // An existing file under any spelling of the name is the file.
    for (std::filesystem::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
        const auto name = it->path().filename().string();
        if (text::sameName(name, spelledName)) return it->path();
    }
    // A new file always gets the one spelling, whichever caller creates it.
    if (text::sameName(std::string(kSettingsFileName), spelledName))
        return dir / std::string(kSettingsFileName);
    return dir / std::string(spelledName);
}

std::string SettingsFile::ReadSetting(std::string_view section, std::string_view key,
                                      std::string_view defaultValue,
                                      std::string_view spelledName) const {
    return readProfileString(path(spelledName), section, key, defaultValue);
}

void SettingsFile::WriteSetting(std::string_view section, std::string_view key,
                                std::string_view value, std::string_view spelledName) const {
    const auto file = path(spelledName);
    std::error_code ec;
    std::filesystem::create_directories(file.parent_path(), ec);
    writeProfileString(file, section, key, value);
}

}  // namespace ql::profile
