#pragma once
// The one error type of the module source reader. Damaged or missing pieces of
// a stored VBA project end up here with a message that says where the damage
// was found, so that the caller can log it for the one module concerned.
#include <stdexcept>
#include <string>

namespace ql::vba {

enum class VbaErrorKind {
    Corrupt,       // a structure in the file contradicts itself or is cut short
    Missing,       // a stream, storage or row the project needs is not there
    CompiledOnly,  // the project keeps compiled code only (an .mde): no source
    TooLarge,      // a stream or text would exceed the reader's memory cap
};

class VbaError : public std::runtime_error {
public:
    VbaError(VbaErrorKind kind, const std::string& message)
        : std::runtime_error(message), kind_(kind) {}
    VbaErrorKind kind() const { return kind_; }

private:
    VbaErrorKind kind_;
};

// Largest stream or decompressed text the reader accepts. Real modules are a
// few tens of kilobytes; the cap only keeps a damaged length from turning
// into an unbounded allocation.
inline constexpr std::size_t kMaxStreamBytes = 64u * 1024u * 1024u;

// Largest sum of long values read from one system table. Every row may stay
// under the stream cap while a damaged table points many rows at the same
// long chain; this bounds what the whole table can cost.
inline constexpr std::size_t kMaxTableLongValueBytes = 256u * 1024u * 1024u;

}  // namespace ql::vba
