// A TCP socket that waits for connections. While the process or the system has no descriptor left,
// connections wait in the system's queue, and it looks for a free one ten times a second.
#pragma once

#include "runtime/events/EventSource.hpp"
#include "runtime/events/Timer.hpp"
#include "runtime/text/String.hpp"

#include <functional>

namespace hearthix {

class ListeningSocket : public EventSource {
public:
    ~ListeningSocket() override { Close(); }

    // Listens on an IPv4 address; port 0 lets the system choose. False when the system refuses; LastError
    // then tells why in words.
    bool Listen(const String& address, Integer port);
    void Close();
    // The port in use, 0 when not listening.
    Integer Port() const noexcept { return port_; }
    const String& LastError() const noexcept { return lastError_; }

    // Gets the descriptor of each new connection, non-blocking, to keep or to close. Has to be set by the
    // time that events run.
    std::function<void(int descriptor)> accepted;

private:
    class Pause : public Timer {
    public:
        // When it is over there is nothing to do: the loop asks wantsRead again.
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
