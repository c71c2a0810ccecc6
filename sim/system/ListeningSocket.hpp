// A TCP socket that waits for connections. While no descriptor is free, connections wait in the system's
// queue, and the socket tries again ten times a second.
#pragma once

#include "runtime/events/EventSource.hpp"
#include "runtime/events/Timer.hpp"
#include "runtime/text/String.hpp"

#include <functional>

namespace hearthix {

class ListeningSocket : public EventSource {
public:
    ~ListeningSocket() override { Close(); }

    // Listens on an IPv4 address; port 0 lets the system choose. Returns false if the system refuses.
    // LastError is then the reason in words.
    bool Listen(const String& address, Integer port);
    void Close();
    // The port in use, 0 when not listening.
    Integer Port() const noexcept { return port_; }
    const String& LastError() const noexcept { return lastError_; }

    // Receives the descriptor of each new connection, non-blocking, and owns it. Must be set before events
    // run.
    std::function<void(int descriptor)> accepted;

private:
    class Pause : public Timer {
    public:
        // Does nothing when it fires, because the loop then calls wantsRead again.
        void Event_Action() override {}
    };

    int descriptor() const noexcept override { return descriptor_; }
    bool wantsRead() const noexcept override { return pause_.Mode() == Timer::kModeOff; }
    bool wantsWrite() const noexcept override { return false; }
    void serve(bool readable, bool writable) override;
    void flushOutput() override {}
    void pauseWhenShort(int error);

    int descriptor_ = -1;
    Pause pause_;
    Integer port_ = 0;
    String lastError_;
};

} // namespace hearthix
