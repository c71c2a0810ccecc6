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
    // The event may release this timer, so nothing follows.
    Event_Action();
}

} // namespace hearthix
