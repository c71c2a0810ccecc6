// Hearthix as the driver sees it: a listener on a port of the system's choice, then one connection on which
// packets go both ways.
#pragma once

#include "tests/support/Packets.hpp"
#include "tests/support/Stream.hpp"

namespace hearthix::test {

class FakeHost {
public:
    explicit FakeHost(int receiveBuffer = 0) : listener_(receiveBuffer) {}
    std::string port() const { return listener_.port(); }
    // Waits for the driver and returns the connection ID of its opening line.
    std::string accept();
    void send(std::string_view bytes) { stream_.write(bytes); }
    Packet next();
    // All packets up to this one, without it.
    Packets until(const Packet& last);
    // All packets up to the end of the connection.
    Packets untilEnd();
    bool hasNews(std::chrono::milliseconds limit) { return stream_.hasNews(limit); }
    void stopListening() { listener_.close(); }
    void hangUp() { stream_.close(); }

private:
    Listener listener_;
    Stream stream_;
};

} // namespace hearthix::test
