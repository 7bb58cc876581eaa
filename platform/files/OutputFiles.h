#pragma once
// Every file the program writes is opened, replaced or removed here, and
// nowhere else. The files it reads (the database and the workgroup file) are
// registered while they are in use; a write that would reach one of them,
// through whatever path names it (relative, "..", a symbolic link, a hard
// link), fails with the run-time error 70 "Permission denied" before a byte
// changes. On Windows the engine's lock on the open database gave the same
// error; here the check does it, so that no writer can forget it.
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "platform/RuntimeError.h"

namespace ql::files {

// Keeps one file registered as an input for as long as it lives. Identified
// by device and inode, so that every name of the file is covered.
class ProtectedInput {
public:
    ProtectedInput() = default;
    // From an open descriptor (what the reader holds) or a path; a path that
    // does not name an existing file registers nothing.
    static ProtectedInput ofDescriptor(int fd);
    static ProtectedInput ofPath(const std::filesystem::path& path);
    ~ProtectedInput();
    ProtectedInput(ProtectedInput&& other) noexcept;
    ProtectedInput& operator=(ProtectedInput&& other) noexcept;
    ProtectedInput(const ProtectedInput&) = delete;
    ProtectedInput& operator=(const ProtectedInput&) = delete;

    bool active() const { return registered_; }

private:
    ProtectedInput(std::uint64_t device, std::uint64_t inode);
    std::uint64_t device_ = 0, inode_ = 0;
    bool registered_ = false;
};

// True when `path` names (following links) a registered input.
bool isProtectedInput(const std::filesystem::path& path);

// Raises RuntimeError 70 "Permission denied" when `path` names an input.
void refuseInput(const std::filesystem::path& path);

enum class WriteMode { Replace, Append };

// A file opened for writing through this module; closed by close() or on
// destruction. Failures raise the run-time error a failed file operation
// gives (53, 70, 75, 76).
class OutputFile {
public:
    OutputFile(const std::filesystem::path& path, WriteMode mode);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void write(std::string_view bytes);
    // Flushes and closes; raises 75 when the data did not all reach the file.
    void close();

private:
    int fd_ = -1;
};

// Writes `bytes` as the whole file (Replace) or at its end (Append).
void writeFile(const std::filesystem::path& path, std::string_view bytes, WriteMode mode);

// Replaces the whole file at once: readers see the old contents or the new,
// never half. A symbolic link is written through (the file it names gets
// the new contents and keeps its mode); an existing file that may not be
// written raises 70 and stays as it is.
void replaceContents(const std::filesystem::path& path, std::string_view bytes);

// Moves `from` over `to` (copying when they are on different file systems).
// Neither may be an input.
void replaceFile(const std::filesystem::path& from, const std::filesystem::path& to);

// Removes `path` if it exists; an input is refused.
void removeFile(const std::filesystem::path& path);

}  // namespace ql::files
