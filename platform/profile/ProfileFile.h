#pragma once
// Reading and writing a settings file of the classic "[Section]" / "key=value"
// kind with the semantics of the Windows profile functions, so that a file
// written by the program on Windows reads the same here and vice versa.
//
// Written by hand rather than with SimpleIni: SimpleIni rewrites the whole
// file on save (spacing around "=", comments, duplicate sections), while a
// profile write must leave every other line exactly as it was; it also does
// not strip one pair of enclosing quotes from a value as the profile reader
// does.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace ql::profile {

// The program reads every value into a 255-character buffer; the platform
// fills at most 254 characters of it plus the terminator.
inline constexpr std::size_t kProfileBufferSize = 255;

// A settings file bigger than this is not a settings file of ours: reads
// give their defaults and writes leave it alone.
inline constexpr std::uintmax_t kMaxProfileFileSize = 1u << 20;

// The value of `key` in `section` of the file at `path`, or `defaultValue`
// when the file, the section or the key is missing. Section and key names
// match without regard to ASCII case; the value is the rest of the line
// after the first "=", blanks around it removed and then one pair of
// enclosing quotes ("..." or '...'). The result is cut to bufferSize - 1
// bytes (never inside a UTF-8 sequence).
std::string readProfileString(const std::filesystem::path& path, std::string_view section,
                              std::string_view key, std::string_view defaultValue,
                              std::size_t bufferSize = kProfileBufferSize);

// Sets `key` in `section` to `value`, creating the file, the section or the
// key when missing and keeping every other line byte for byte (including the
// file's own line ends). The file is replaced atomically; a symbolic link is
// written through, and a file that may not be written is left as it is.
// Returns false when the file could not be written; callers in this program
// ignore that.
bool writeProfileString(const std::filesystem::path& path, std::string_view section,
                        std::string_view key, std::string_view value);

}  // namespace ql::profile
