// Waiting in the middle of a function, while events run.
#pragma once

#include "runtime/process/ConsoleApplication.hpp"
#include "runtime/values/Clock.hpp"

namespace hearthix::sim {

// Until the condition holds, or for so many milliseconds; returns whether it holds.
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
