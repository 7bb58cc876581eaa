#include "grids/FileDates.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "platform/RuntimeError.h"
#include "platform/vb/VbText.h"

namespace ql::grids {

double GetFileDate(const std::string& path, std::int16_t selector) {
    struct statx info {};
    const unsigned mask = STATX_BTIME | STATX_ATIME | STATX_MTIME | STATX_CTIME;
    if (::statx(AT_FDCWD, path.c_str(), 0, mask, &info) != 0) throw fileOpenError(errno);
    switch (selector) {
    case kFileCreated:
        return vb::localDays((info.stx_mask & STATX_BTIME) ? info.stx_btime.tv_sec : info.stx_ctime.tv_sec);
    case kFileAccessed: return vb::localDays(info.stx_atime.tv_sec);
    case kFileModified: return vb::localDays(info.stx_mtime.tv_sec);
    default: return 0;
    }
}

}  // namespace ql::grids
