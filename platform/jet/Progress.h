#pragma once
// A way for the thread that reads a large file to do something else now and
// then: a record count or a table scan over a 2 GB file is one call of
// several seconds, during which a window would otherwise look dead.
#include <cstdint>
#include <functional>

namespace ql::jet {

// Long reads call the hook of the calling thread once every this many pages.
inline constexpr std::uint32_t kPagesPerProgressCall = 256;

// Installs `hook` for the calling thread for the scope's lifetime and puts
// the previous one back at its end. The hook runs in the middle of a read:
// it must not throw, and it must not use the database being read (a call
// made while the hook runs does not call it again). Threads without a hook
// pay one test per page.
class ProgressScope {
public:
    explicit ProgressScope(std::function<void()> hook);
    ~ProgressScope();
    ProgressScope(const ProgressScope&) = delete;
    ProgressScope& operator=(const ProgressScope&) = delete;

private:
    std::function<void()> hook_;
    const std::function<void()>* previous_;
};

namespace detail {
// Counts one page of a long read; calls the hook every kPagesPerProgressCall.
void pageVisited();
}  // namespace detail

}  // namespace ql::jet
