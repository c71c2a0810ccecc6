// What an object must tell to get the event loop's attention.
//
// A source is passive: it adds itself to the loop when it opens its descriptor and removes itself when it
// closes. The loop asks before each wait, calls serve when the descriptor is ready, and holds a reference to
// the source while it does, so that the source may close, remove itself or be dropped by its owner inside.
#pragma once

#include "runtime/core/Object.hpp"

#include <cstdint>

namespace hearthix {

class EventSource : public virtual Object {
public:
    // -1 while there is nothing to wait for; only hasNews counts then.
    virtual int descriptor() const noexcept = 0;
    virtual bool wantsRead() const noexcept = 0;
    virtual bool wantsWrite() const noexcept = 0;
    // Whether serve is wanted now, whatever the descriptor says: a failure waits to be told.
    virtual bool hasNews() const noexcept { return false; }
    virtual void serve(bool readable, bool writable) = 0;
    // Sends what waits to be sent, as far as the system takes it at once. Runs no events.
    virtual void flushOutput() = 0;
};

// Something that wants to run at a moment of the monotonic clock.
class TimedSource {
public:
    // Nanoseconds of clocks::monotonic; asked before each wait.
    virtual std::int64_t dueAt() const noexcept = 0;
    virtual void fire() = 0;

protected:
    ~TimedSource() = default;
};

} // namespace hearthix
