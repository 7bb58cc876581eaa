#include "platform/jet/Error.h"

namespace ql::jet {

const char* toString(ErrorKind kind) {
    switch (kind) {
        case ErrorKind::FileMissing: return "file missing";
        case ErrorKind::NoPermission: return "no permission";
        case ErrorKind::NotJet: return "not a Jet file";
        case ErrorKind::Unsupported: return "unsupported format";
        case ErrorKind::Truncated: return "truncated";
        case ErrorKind::Damaged: return "damaged";
        case ErrorKind::TooLarge: return "too large";
        case ErrorKind::NotFound: return "not found";
        case ErrorKind::Io: return "input/output error";
    }
    return "unknown";
}

}  // namespace ql::jet
