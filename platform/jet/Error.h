#pragma once
// Errors raised by the Jet reader. The kind lets a caller (the DAO layer)
// choose the error its own users expect; the text says what was wrong and
// where, for a person debugging the file.
#include <stdexcept>
#include <string>

#include "platform/RuntimeError.h"

namespace ql::jet {

enum class ErrorKind {
    FileMissing,   // the path names nothing
    NoPermission,  // the file exists but may not be read
    NotJet,        // no Jet signature: some other kind of file
    Unsupported,   // a signature we know but do not read (ACE, MSISAM, an unknown version)
    Truncated,     // the file ends before a structure it refers to
    Damaged,       // a structure's numbers contradict each other or the file
    TooLarge,      // a value is larger than the cap the caller gave
    NotFound,      // a named object is not in the catalogue
    Io,            // any other failure of the operating system
};

const char* toString(ErrorKind kind);

class Error : public std::runtime_error {
public:
    Error(ErrorKind kind, const std::string& message) : std::runtime_error(message), kind_(kind) {}
    ErrorKind kind() const { return kind_; }

private:
    ErrorKind kind_;
};

// The file shrank under the reader while it was being read. Deliberately not
// a jet::Error: no layer may take it for one damaged row and read on past it.
// It reaches the program as the engine's "Disk or network error.", which is
// what Jet reports when the file it reads goes away beneath it.
class FileChanged : public RuntimeError {
public:
    FileChanged() : RuntimeError(3043, "Disk or network error.") {}
};

}  // namespace ql::jet
