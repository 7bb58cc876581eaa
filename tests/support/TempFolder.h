#pragma once
// A fresh folder under the system temporary folder, removed with its
// contents when the object goes away.
#include <filesystem>
#include <string>

namespace ql::test {

class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

    // Writes `text` to a file in the folder and returns its path.
    std::filesystem::path write(const std::string& name, const std::string& text) const;
    // The whole content of a file; empty when it cannot be read.
    static std::string read(const std::filesystem::path& file);

private:
    std::filesystem::path path_;
};

}  // namespace ql::test
