#pragma once
// Keeps the window alive while one call reads a large file: the Jet reader
// calls back every few hundred pages, and at most once an interval the
// window repaints, its timers run and the window system gets its answers.
// The user's clicks and keys wait in the queue for the run's own points
// where events run, so no command can start in the middle of another.
#include <QElapsedTimer>

#include <chrono>

#include "platform/jet/Progress.h"

namespace ql::app {

class EventPump {
public:
    // Pumps on the calling thread while this object lives.
    explicit EventPump(std::chrono::milliseconds interval);
    EventPump(const EventPump&) = delete;
    EventPump& operator=(const EventPump&) = delete;

    // How often events ran.
    int pumps() const { return pumps_; }

private:
    void pump();

    std::chrono::milliseconds interval_;
    QElapsedTimer sinceLast_;
    int pumps_ = 0;
    jet::ProgressScope scope_;  // last: it calls back into the members above
};

}  // namespace ql::app
