// The event loop: one thread, one wait.
//
// A pass sends what waits to be sent, waits for input or the next due moment, serves every ready source, and
// then fires the timers that were due when the wait ended. Input thus goes ahead of time: a timer never fires
// over data that had already arrived. Nothing is polled in between; an idle loop sleeps.
#pragma once

#include "runtime/events/EventSource.hpp"

#include <cstdint>
#include <vector>

#include <poll.h>

namespace hearthix {

class EventLoop {
public:
    // The process's loop.
    static EventLoop& instance();

    void add(EventSource& source);
    void remove(EventSource& source);
    void add(TimedSource& timer);
    void remove(TimedSource& timer);

    // Serves events the moment they come, and returns when the time is over, also under constant load. With 0
    // it makes one pass and does not wait.
    void run(std::int64_t milliseconds);
    // A last send of everything that waits, without waiting.
    void flushAll();

private:
    void pass(std::int64_t deadline);
    std::vector<pollfd> waitFor(const std::vector<EventSource*>& sources, std::int64_t deadline) const;
    bool isKnown(const EventSource* source) const;
    static void serve(EventSource& source, int found);
    std::int64_t nextDue(std::int64_t deadline) const;
    void fireDue(std::int64_t now);

    // Removing leaves a null while events run; the next pass closes the gaps.
    std::vector<EventSource*> sources_;
    std::vector<TimedSource*> timers_;
};

} // namespace hearthix
