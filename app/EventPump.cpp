#include "app/EventPump.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>

namespace ql::app {

EventPump::EventPump(std::chrono::milliseconds interval)
    : interval_(interval), scope_([this] { pump(); }) {
    sinceLast_.start();
}

void EventPump::pump() {
    if (sinceLast_.elapsed() < interval_.count()) return;
    ++pumps_;
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    // The input kept back is still queued, but the dispatcher has taken the
    // wake-up it came with (Qt's GLib loop); without another one the next
    // point where events run, and the main loop itself, would pass it over
    // until the user moved the mouse again.
    if (QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance()) dispatcher->wakeUp();
    sinceLast_.restart();
}

}  // namespace ql::app
