#pragma once
// The DAO layer, the analysis and the settings reader open files by path, so
// the targets that drive them write each input to a file first: in a folder
// of this process under the temporary folder (a RAM disk where there is one),
// made once and removed at exit.
#include <cstddef>
#include <cstdint>
#include <string>

namespace ql::fuzz {

// The path of `name` in this process's scratch folder after writing
// `size` bytes from `data` to it.
std::string writeScratch(const std::string& name, const std::uint8_t* data, std::size_t size);

}  // namespace ql::fuzz
