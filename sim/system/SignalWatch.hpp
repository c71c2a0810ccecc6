// Signals as a source of events: while a watch is open, its signals interrupt nothing and arrive in the event
// loop. Programs started meanwhile by ChildProcess get all signals as usual.
#pragma once

#include "runtime/events/EventSource.hpp"

#include <functional>
#include <initializer_list>

#include <signal.h>

namespace hearthix {

class SignalWatch : public EventSource {
public:
    ~SignalWatch() override { Close(); }

    // False when the system refuses; the signals then do what they always do.
    bool Open(std::initializer_list<int> signals);
    void Close();

    // Has to be set by the time that events run.
    std::function<void(int signal)> caught;

private:
    int descriptor() const noexcept override { return descriptor_; }
    bool wantsRead() const noexcept override { return true; }
    bool wantsWrite() const noexcept override { return false; }
    void serve(bool readable, bool writable) override;
    void flushOutput() override {}

    int descriptor_ = -1;
    sigset_t maskBefore_{};
};

} // namespace hearthix
