// The clocks. Every part of the system that needs the time asks here, so that a test can replace it.
#pragma once

#include "runtime/text/String.hpp"

#include <cstdint>

namespace hearthix {

// Sixtieths of a second from an arbitrary start; never decreases.
Integer Ticks();
// Microseconds from an arbitrary start; never decreases.
double Microseconds();

namespace clocks {

using Nanoseconds = std::int64_t;
constexpr Nanoseconds kMillisecond = 1'000'000;
constexpr Nanoseconds kSecond = 1'000'000'000;

// Time from an arbitrary start; never decreases.
Nanoseconds monotonic();
// Time from 1970-01-01 00:00 UTC, as precise as the system's timer tick; follows changes of the wall clock.
Nanoseconds wall();
// Blocks without serving events. Always waits in real time.
void sleep(Nanoseconds duration);

// The functions that supply the two times. A null member selects the system's clock.
struct Source {
    Nanoseconds (*monotonic)() = nullptr;
    Nanoseconds (*wall)() = nullptr;
};
// Replaces both clocks; setSourceForTest({}) restores the system's.
void setSourceForTest(const Source& source);
// Replaces the wall clock and restores the monotonic one.
inline void replaceWallClock(Nanoseconds (*wall)()) {
    setSourceForTest({.wall = wall});
}

} // namespace clocks
} // namespace hearthix
