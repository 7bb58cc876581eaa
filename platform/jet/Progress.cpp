#include "platform/jet/Progress.h"

namespace ql::jet {

namespace {
struct ThreadProgress {
    const std::function<void()>* hook = nullptr;
    std::uint32_t pages = 0;
    bool running = false;
};
constinit thread_local ThreadProgress progress;
}  // namespace

ProgressScope::ProgressScope(std::function<void()> hook) : hook_(std::move(hook)), previous_(progress.hook) {
    progress.hook = hook_ ? &hook_ : nullptr;
}

ProgressScope::~ProgressScope() { progress.hook = previous_; }

namespace detail {

void pageVisited() {
    ThreadProgress& p = progress;
    if (!p.hook || ++p.pages < kPagesPerProgressCall || p.running) return;
    p.pages = 0;
    p.running = true;
    try {
        (*p.hook)();
    } catch (...) {
        // A read half way through cannot take an error that is not its own.
    }
    p.running = false;
}

}  // namespace detail

}  // namespace ql::jet
