// The clocks. Everything in the system that asks for the time asks here, so that a test can put another
// clock in place.
#pragma once

#include "runtime/text/String.hpp"

#include <cstdint>

namespace hearthix {

// Sixtieths of a second from an arbitrary start; never goes back.
Integer Ticks();
// Microseconds from an arbitrary start; never goes back.
double Microseconds();

namespace clocks {

using Nanoseconds = std::int64_t;
constexpr Nanoseconds kMillisecond = 1'000'000;
constexpr Nanoseconds kSecond = 1'000'000'000;

// From an arbitrary start; never goes back.
Nanoseconds monotonic();
// From 1970-01-01 00:00 UTC, as precise as the system's timer tick; follows every change of the wall clock.
Nanoseconds wall();
// Waits without serving anything.
void sleep(Nanoseconds duration);

// Puts another wall clock in place; null brings the system's back.
using WallClock = Nanoseconds (*)();
void replaceWallClock(WallClock clock);

} // namespace clocks
} // namespace hearthix
