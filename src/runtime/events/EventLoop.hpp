// The event loop: one thread, one wait.
//
// A pass sends buffered output, waits for input or for the next due time, serves every ready source, and then
// fires the timers that were due when the wait ended. A timer therefore never fires before data that had
// already arrived. An idle loop sleeps.
#pragma once

#include "runtime/events/EventSource.hpp"

#include <cstdint>
#include <vector>

#include <poll.h>

namespace hearthix {

class EventLoop {
public:
    // The process's only loop.
    static EventLoop& instance();

    void add(EventSource& source);
    void remove(EventSource& source);
    void add(TimedSource& timer);
    void remove(TimedSource& timer);

    // Serves events for the given time, also under constant load. With 0 it makes one pass and does not wait.
    void run(std::int64_t milliseconds);
    // Sends all buffered output, as far as the system accepts it without blocking.
    void flushAll();
    // Whether a pass is in progress, that is, whether the caller was called by an event.
    bool isServing() const noexcept { return depth_ > 0; }

private:
    void pass(std::int64_t deadline);
    std::vector<pollfd> waitFor(const std::vector<EventSource*>& sources, std::int64_t deadline) const;
    bool isKnown(const EventSource* source) const;
    void fireDue(std::int64_t now);

    // Removing a source leaves a null pointer, because events may be running. The next pass erases it.
    std::vector<EventSource*> sources_;
    std::vector<TimedSource*> timers_;
    int depth_ = 0;
};

} // namespace hearthix
