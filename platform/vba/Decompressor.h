#pragma once
// The run-length/LZ compression that VBA uses for the `dir` stream and for the
// source text inside each module stream (a "compressed container": one
// signature byte, then chunks of up to 4096 decompressed bytes).
//
// Written here rather than taken from libgsf: libgsf's VBA helper decodes
// leniently and has no way to report where a container is damaged or cut
// short, which is exactly what a per-module error needs to say.
#include "platform/vba/VbaError.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace ql::vba {

// Decompresses the container that starts at data[start] and runs to the end
// of data. Every chunk must lie wholly inside data and the last one must end
// exactly at its end: a container cut short is reported, never padded.
// Throws VbaError (Corrupt, or TooLarge past maxOutput bytes).
std::string decompressContainer(std::string_view data, std::size_t start = 0,
                                std::size_t maxOutput = kMaxStreamBytes);

// Where a module's source container starts when nothing says so: the first
// offset at which a container opens with a compressed chunk whose first
// flag byte announces eight literals spelling "Attribut" (every stored
// module text begins with `Attribute VB_Name`). Candidates are tried in
// order and the first one that decompresses cleanly to the end of the
// stream wins. Empty when there is none (compiled-only code).
std::optional<std::size_t> findSourceContainer(std::string_view stream);

}  // namespace ql::vba
