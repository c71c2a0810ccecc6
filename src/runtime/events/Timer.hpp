// A timer that fires once, Period milliseconds after Mode was set to single.
//
// The event runs inside DoEvents. Setting Mode to single again restarts the countdown. An event that may
// release its own timer and then continues must own a reference to it.
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
