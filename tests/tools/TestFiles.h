// Temporary files for the writer's tests.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace ql::jetwriter::test {

class TempDir {
public:
    TempDir()
    {
        std::string tmpl = (std::filesystem::temp_directory_path() / "jetwriter-XXXXXX").string();
        if (!mkdtemp(tmpl.data())) throw std::runtime_error("mkdtemp");
        path_ = tmpl;
    }
    ~TempDir() { std::filesystem::remove_all(path_); }
    std::string file(const std::string& name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

} // namespace ql::jetwriter::test
