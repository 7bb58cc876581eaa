#include "platform/jet/Bytes.h"

namespace ql::jet::detail {

void damaged(const std::string& what) { throw Error(ErrorKind::Damaged, what); }
void truncated(const std::string& what) { throw Error(ErrorKind::Truncated, what); }

}  // namespace ql::jet::detail
