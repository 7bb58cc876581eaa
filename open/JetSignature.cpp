#include "open/JetSignature.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>

#include "platform/RuntimeError.h"

namespace ql::open {

namespace {

constexpr size_t HeaderLength = 20;

std::string upperAscii(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

// Bytes past the end of a short file stay zero, as record reads past the end
// leave their buffer untouched.
std::array<char, HeaderLength> readHeader(const std::string& path) {
    std::array<char, HeaderLength> header{};
    // Read-only, and never created: the probe must not leave a file behind.
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) throw fileOpenError(errno);
    size_t filled = 0;
    while (filled < HeaderLength) {
        const ssize_t got = ::read(fd, header.data() + filled, HeaderLength - filled);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) {
            const int error = errno;
            ::close(fd);
            // A folder opens but cannot be read.
            throw fileOpenError(error == EISDIR ? EIO : error);
        }
        if (got == 0) break;
        filled += static_cast<size_t>(got);
    }
    ::close(fd);
    return header;
}

}  // namespace

bool IsJetFile(const std::string& path, short kind) {
    const std::array<char, HeaderLength> header = readHeader(path);
    std::string signature;
    if (kind == static_cast<short>(JetFileKind::Database)) signature = "Standard JET DB";
    else if (kind == static_cast<short>(JetFileKind::Workgroup)) signature = "System DB";
    const std::string text = upperAscii(std::string(header.begin(), header.end()));
    return text.find(upperAscii(signature)) != std::string::npos;
}

}  // namespace ql::open
