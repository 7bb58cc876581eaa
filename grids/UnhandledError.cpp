#include "grids/UnhandledError.h"

namespace ql::grids {

std::string runtimeErrorText(const RuntimeError& error) {
    return "Run-time error '" + std::to_string(error.number()) + "':\r\n\r\n" + error.description();
}

}  // namespace ql::grids
