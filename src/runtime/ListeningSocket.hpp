// A TCP socket that waits for connections.
#pragma once

#include "runtime/EventSource.hpp"
#include "runtime/String.hpp"

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

    // Gets the descriptor of each new connection, non-blocking, to keep or to close.
    std::function<void(int descriptor)> accepted;

private:
    int descriptor() const noexcept override { return descriptor_; }
    bool wantsRead() const noexcept override { return true; }
    bool wantsWrite() const noexcept override { return false; }
    void serve(bool readable, bool writable) override;
    void flushOutput() override {}

    int descriptor_ = -1;
    Integer port_ = 0;
    String lastError_;
};

} // namespace hearthix
