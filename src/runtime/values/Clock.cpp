#include "runtime/values/Clock.hpp"

#include <ctime>

namespace hearthix {

namespace clocks {

namespace {

Source replaced;

Nanoseconds read(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<Nanoseconds>(now.tv_sec) * kSecond + now.tv_nsec;
}

} // namespace

Nanoseconds monotonic() {
    return replaced.monotonic != nullptr ? replaced.monotonic() : read(CLOCK_MONOTONIC);
}

// Each packet creates a Date. The coarse clock costs a tenth of the exact one, and its precision of a few
// milliseconds is enough for the rules about silence.
Nanoseconds wall() {
#ifdef CLOCK_REALTIME_COARSE
    constexpr clockid_t kClock = CLOCK_REALTIME_COARSE;
#else
    constexpr clockid_t kClock = CLOCK_REALTIME;
#endif
    return replaced.wall != nullptr ? replaced.wall() : read(kClock);
}

void sleep(Nanoseconds duration) {
    const timespec wait{static_cast<time_t>(duration / kSecond), static_cast<long>(duration % kSecond)};
    nanosleep(&wait, nullptr);
}

void setSourceForTest(const Source& source) {
    replaced = source;
}

} // namespace clocks

Integer Ticks() {
    return clocks::monotonic() * 3 / 50'000'000;
}

double Microseconds() {
    return static_cast<double>(clocks::monotonic()) / 1000.0;
}

} // namespace hearthix
