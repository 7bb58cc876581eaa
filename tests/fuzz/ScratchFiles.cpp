#include "tests/fuzz/ScratchFiles.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <unistd.h>

namespace ql::fuzz {

namespace {

class Scratch {
public:
    Scratch() {
        namespace fs = std::filesystem;
        std::error_code ec;
        fs::path base = fs::is_directory("/dev/shm", ec) && ::access("/dev/shm", W_OK) == 0
                            ? fs::path("/dev/shm")
                            : fs::temp_directory_path();
        std::string pattern = (base / "ql-fuzz-XXXXXX").string();
        if (!::mkdtemp(pattern.data())) throw std::runtime_error("cannot make a scratch folder in " + base.string());
        path_ = pattern;
    }
    ~Scratch() {
        std::error_code ec;
        std::filesystem::remove_all(path_, ec);
    }
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

}  // namespace

std::string writeScratch(const std::string& name, const std::uint8_t* data, std::size_t size) {
    static Scratch scratch;
    const std::string path = (scratch.path() / name).string();
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) throw std::runtime_error("cannot write " + path);
    if (size) std::fwrite(data, 1, size, f);
    std::fclose(f);
    return path;
}

}  // namespace ql::fuzz
