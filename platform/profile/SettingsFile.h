#pragma once
// The program's one settings file, "Quarrylantern.ini", with the
// ReadSetting / WriteSetting operations every part of the program uses.
//
// The file lives in the program's folder. Where that folder is not writable
// (an installed program), it lives in the per-user configuration folder
// instead, and every read and write goes there, so that a choice the user
// confirms is found again at the next start. Some callers spell the name
// "Quarrylantern.INI"; on a case-sensitive file system both spellings must
// still reach the one file, so the name is matched without case inside the
// folder.
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

namespace ql::profile {

inline constexpr std::string_view kSettingsFileName = "Quarrylantern.ini";

class SettingsFile {
public:
    // `programFolder`: the folder of the executable. `userFolder`: where the
    // file goes when the program folder is not writable.
    // `writable` tells whether a folder may take the file (the default asks
    // the file system; tests pass their own, since root may write anywhere).
    using WritableTest = std::function<bool(const std::filesystem::path&)>;
    SettingsFile(std::filesystem::path programFolder, std::filesystem::path userFolder,
                 WritableTest writable = {});

    // ~/.config/quarrylantern of the effective user (from the password
    // database, not from the environment, which the program does not read).
    static std::filesystem::path defaultUserFolder();

    // The file that `spelledName` reaches (matched without case against the
    // files of the folder), named anew at every call (nothing
    // is cached, so a folder that becomes writable is noticed).
    std::filesystem::path path(std::string_view spelledName = kSettingsFileName) const;

    // Section/key lookup with a default; the value is at most 254 characters.
    std::string ReadSetting(std::string_view section, std::string_view key,
                            std::string_view defaultValue,
                            std::string_view spelledName = kSettingsFileName) const;

    // Write failures are not reported: the choice is then simply not kept.
    void WriteSetting(std::string_view section, std::string_view key, std::string_view value,
                      std::string_view spelledName = kSettingsFileName) const;

    const std::filesystem::path& programFolder() const { return programFolder_; }
    const std::filesystem::path& userFolder() const { return userFolder_; }

private:
    std::filesystem::path folder() const;

    std::filesystem::path programFolder_;
    std::filesystem::path userFolder_;
    WritableTest writable_;
};

}  // namespace ql::profile
