// A timer that fires once, Period milliseconds after it was armed.
//
// The event runs on the one thread, inside DoEvents. Arming an armed timer starts its countdown anew. Code
// that may let go of the timer inside its own event, and goes on after that, holds a reference meanwhile.
#pragma once

#include "runtime/events/EventSource.hpp"

#include <cstdint>

namespace hearthix {

class Timer : public Object, private TimedSource {
public:
    static constexpr int kModeOff = 0;
    static constexpr int kModeSingle = 1;

    Timer() = default;
    ~Timer() override;

    std::int64_t Period() const noexcept { return period_; }
    void setPeriod(std::int64_t milliseconds) noexcept { period_ = milliseconds; }
    int Mode() const noexcept { return mode_; }
    void setMode(int mode);

    virtual void Event_Action() = 0;

private:
    std::int64_t dueAt() const noexcept override { return due_; }
    void fire() override;

    std::int64_t period_ = 0;
    std::int64_t due_ = INT64_MAX;
    int mode_ = kModeOff;
};

} // namespace hearthix
