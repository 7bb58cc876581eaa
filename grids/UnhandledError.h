#pragma once
// A run-time error that no handler of the running command takes. Where the
// original program would let the runtime report it and end, we report it
// the same way and close in an orderly fashion: the window shows the
// runtime's message and unloads, the headless tool prints it and exits
// with its own code.
#include <exception>
#include <string>

#include "platform/RuntimeError.h"

namespace ql::grids {

class UnhandledError : public std::exception {
public:
    explicit UnhandledError(RuntimeError error) : error_(std::move(error)) {}
    const RuntimeError& error() const noexcept { return error_; }
    const char* what() const noexcept override { return error_.what(); }

private:
    RuntimeError error_;
};

// The runtime's report: "Run-time error '3265':" CR LF CR LF, description.
std::string runtimeErrorText(const RuntimeError& error);

}  // namespace ql::grids
