#include "tests/support/TempFolder.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace ql::test {

TempFolder::TempFolder() {
    auto pattern = (std::filesystem::temp_directory_path() / "ql-test-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) throw std::runtime_error("cannot create a temporary folder");
    path_ = pattern;
}

TempFolder::~TempFolder() {
    std::error_code ec;
    // Folders made read-only by a test must become writable again to go.
    std::filesystem::permissions(path_, std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::add, ec);
    for (auto it = std::filesystem::recursive_directory_iterator(path_, ec);
         !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec))
        if (it->is_directory())
            std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all,
                                         std::filesystem::perm_options::add, ec);
    std::filesystem::remove_all(path_, ec);
}

std::filesystem::path TempFolder::write(const std::string& name, const std::string& text) const {
    const auto file = path_ / name;
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out << text;
    return file;
}

std::string TempFolder::read(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

}  // namespace ql::test
