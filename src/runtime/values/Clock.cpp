#include "runtime/values/Clock.hpp"

#include <ctime>

namespace hearthix {

namespace clocks {

namespace {

Nanoseconds read(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<Nanoseconds>(now.tv_sec) * kSecond + now.tv_nsec;
}

// A Date is made for every packet; the coarse clock costs a tenth of the exact one and is right to a timer
// tick of a few milliseconds, which is as close as the rules about silence need it.
Nanoseconds systemWallClock() {
#ifdef CLOCK_REALTIME_COARSE
    return read(CLOCK_REALTIME_COARSE);
#else
    return read(CLOCK_REALTIME);
#endif
}

WallClock wallClock = systemWallClock;

} // namespace

Nanoseconds monotonic() {
    return read(CLOCK_MONOTONIC);
}

Nanoseconds wall() {
    return wallClock();
}

void sleep(Nanoseconds duration) {
    const timespec wait{static_cast<time_t>(duration / kSecond), static_cast<long>(duration % kSecond)};
    nanosleep(&wait, nullptr);
}

void replaceWallClock(WallClock clock) {
    wallClock = clock != nullptr ? clock : systemWallClock;
}

} // namespace clocks

Integer Ticks() {
    return clocks::monotonic() * 3 / 50'000'000;
}

double Microseconds() {
    return static_cast<double>(clocks::monotonic()) / 1000.0;
}

} // namespace hearthix
