// What the event loop serves: descriptors and timers.
//
// A source adds itself to the loop when it opens its descriptor and removes itself when it closes. Before
// each wait the loop asks the source which events it wants. During serve the loop owns a reference to the
// source, so the source may close itself and its owner may release it.
#pragma once

#include "runtime/core/Object.hpp"

#include <cstdint>

namespace hearthix {

class EventSource : public virtual Object {
public:
    // -1 if there is no descriptor; then only dueAt counts.
    virtual int descriptor() const noexcept = 0;
    virtual bool wantsRead() const noexcept = 0;
    virtual bool wantsWrite() const noexcept = 0;
    // The time of clocks::monotonic at which the loop calls serve even if the descriptor is not ready.
    virtual std::int64_t dueAt() const noexcept { return INT64_MAX; }
    virtual void serve(bool readable, bool writable) = 0;
    // Sends buffered output, as far as the system accepts it without blocking. Runs no events.
    virtual void flushOutput() = 0;
};

class TimedSource {
public:
    // Nanoseconds of clocks::monotonic. The loop reads it before each wait.
    virtual std::int64_t dueAt() const noexcept = 0;
    virtual void fire() = 0;

protected:
    ~TimedSource() = default;
};

} // namespace hearthix
