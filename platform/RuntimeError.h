#pragma once
// The error every layer raises where the program's handlers expect a trappable
// run-time error: a number and a description, as Err.Number and
// Err.Description would give them. The DAO layer uses its own numbers (3024,
// 3343 ...) with DAO's texts; file and process failures use the runtime's
// (53 "File not found", 70 "Permission denied", 75 "Path/File access error").
#include <cerrno>
#include <stdexcept>
#include <string>

namespace ql {

class RuntimeError : public std::runtime_error {
public:
    RuntimeError(int number, std::string description)
        : std::runtime_error(description), number_(number), description_(std::move(description)) {}

    int number() const noexcept { return number_; }
    const std::string& description() const noexcept { return description_; }

private:
    int number_;
    std::string description_;
};

namespace runtime_errors {
inline constexpr int FileNotFound = 53;
inline constexpr int PermissionDenied = 70;
inline constexpr int PathFileAccess = 75;
inline constexpr int PathNotFound = 76;
}  // namespace runtime_errors

// The run-time error a failed file open gives, from the errno it left.
inline RuntimeError fileOpenError(int errnoValue) {
    switch (errnoValue) {
    case ENOENT: return RuntimeError(runtime_errors::FileNotFound, "File not found");
    case ENOTDIR: return RuntimeError(runtime_errors::PathNotFound, "Path not found");
    case EACCES:
    case EPERM: return RuntimeError(runtime_errors::PermissionDenied, "Permission denied");
    default: return RuntimeError(runtime_errors::PathFileAccess, "Path/File access error");
    }
}

}  // namespace ql
