// Signals as a source of events. While a watch is open, its signals do not interrupt the process and arrive
// in the event loop. Programs that ChildProcess starts meanwhile receive all signals as usual.
#pragma once

#include "runtime/events/EventSource.hpp"

#include <functional>
#include <initializer_list>

#include <signal.h>

namespace hearthix {

class SignalWatch : public EventSource {
public:
    ~SignalWatch() override { Close(); }

    // Returns false if the system refuses. The signals then keep their usual effect.
    bool Open(std::initializer_list<int> signals);
    void Close();

    // Must be set before events run.
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
