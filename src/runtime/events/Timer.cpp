#include "runtime/events/Timer.hpp"

#include "runtime/events/EventLoop.hpp"
#include "runtime/values/Clock.hpp"

namespace hearthix {

Timer::~Timer() {
    EventLoop::instance().remove(*this);
}

void Timer::setMode(int mode) {
    mode_ = mode;
    due_ = mode == kModeSingle ? clocks::monotonic() + period_ * clocks::kMillisecond : INT64_MAX;
    if (mode == kModeSingle)
        EventLoop::instance().add(*this);
    else
        EventLoop::instance().remove(*this);
}

void Timer::fire() {
    setMode(kModeOff);
    // Last, with nothing after it: the event may drop the timer.
    Event_Action();
}

} // namespace hearthix
