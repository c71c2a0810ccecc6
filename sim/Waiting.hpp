// Waiting in the middle of a function, while events run.
#pragma once

#include "runtime/process/ConsoleApplication.hpp"
#include "runtime/values/Clock.hpp"

namespace hearthix::sim {

// Waits until the condition is true, at most so many milliseconds. Returns whether it is true.
template <class Condition>
bool waitUntil(const Condition& condition, Integer milliseconds) {
    constexpr Integer kTurnMilliseconds = 5;
    const clocks::Nanoseconds limit = clocks::monotonic() + milliseconds * clocks::kMillisecond;
    bool holds = condition();
    while (!holds && clocks::monotonic() < limit) {
        ConsoleApplication::DoEvents(kTurnMilliseconds);
        holds = condition();
    }
    return holds;
}

} // namespace hearthix::sim
