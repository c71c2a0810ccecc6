// A timer whose action is a function.
#pragma once

#include "runtime/events/Timer.hpp"
#include "runtime/text/String.hpp"

#include <functional>

namespace hearthix::sim {

class Alarm : public Timer {
public:
    std::function<void()> action;

    // Calls the action once, after so many milliseconds. Replaces an earlier setting.
    void setIn(Integer milliseconds) {
        setPeriod(milliseconds < 0 ? 0 : milliseconds);
        setMode(kModeSingle);
    }
    void setSeconds(double seconds) { setIn(static_cast<Integer>(seconds * 1000)); }
    void cancel() { setMode(kModeOff); }
    bool isSet() const noexcept { return Mode() == kModeSingle; }

    void Event_Action() override { action(); }
};

} // namespace hearthix::sim
