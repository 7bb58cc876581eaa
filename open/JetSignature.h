#pragma once
// The quick look at a file's first bytes that tells a Jet database or a
// workgroup file from anything else, before the engine is asked to open it.
#include <string>

namespace ql::open {

enum class JetFileKind : short { Workgroup = 0, Database = 1 };

// True when the signature of `kind` ("Standard JET DB" for a database,
// "System DB" for a workgroup file) appears, without regard to case, anywhere
// in the file's first 20 bytes. A kind other than 0 or 1 has an empty
// signature, which is always found. A file that cannot be opened raises
// ql::RuntimeError; a short file is read as if padded with zero bytes.
bool IsJetFile(const std::string& path, short kind);

}  // namespace ql::open
