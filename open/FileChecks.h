#pragma once
// The file tests the opening command makes before it asks the engine: where
// a file dialog starts, whether a chosen file is there, and whether it is
// marked read-only.
#include <string>

namespace ql::open {

// The dialog's initial folder from a remembered path: the longest beginning
// of the path, shorter than the path, that holds no "/"; empty when there is
// none.
std::string dialogInitialFolder(const std::string& path);

// Whether an ordinary, visible file of that name exists.
bool fileExists(const std::string& path);

// Whether the file carries the read-only mark. Raises the runtime's file
// error when the file cannot be examined.
bool hasReadOnlyAttribute(const std::string& path);

}  // namespace ql::open
