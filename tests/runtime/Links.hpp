// A connection inside one process: a socket that records its events, and the raw other end.
#pragma once

#include "runtime/events/TCPSocket.hpp"
#include "runtime/process/ConsoleApplication.hpp"
#include "runtime/values/Clock.hpp"

#include <gtest/gtest.h>

#include <string_view>

#include <sys/socket.h>
#include <unistd.h>

namespace hearthix {

// A clock that advances by a step with each reading and when a test changes it.
struct FakeClock {
    explicit FakeClock(clocks::Nanoseconds everyReading = clocks::kMillisecond) {
        step = everyReading;
        clocks::setSourceForTest({.monotonic = [] { return now += step; }});
    }
    ~FakeClock() { clocks::setSourceForTest({}); }

    static inline clocks::Nanoseconds now = 0;
    static inline clocks::Nanoseconds step = 0;
};

// Runs events until the condition is true; returns false if that takes minutes.
inline bool serveUntil(const std::function<bool()>& done) {
    for (int turn = 0; turn < 50'000 && !done(); ++turn)
        ConsoleApplication::DoEvents(5);
    return done();
}

class Peer {
public:
    ~Peer() { close(); }
    void close() {
        if (descriptor >= 0)
            ::close(std::exchange(descriptor, -1));
    }
    // Sends as much as the system accepts. Returns the number of bytes.
    std::size_t send(std::string_view bytes) {
        const ssize_t sent = ::send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        return sent < 0 ? 0 : static_cast<std::size_t>(sent);
    }
    // Returns all bytes that have arrived.
    std::string take() {
        std::string all;
        char bytes[65536];
        for (ssize_t got = 0; (got = recv(descriptor, bytes, sizeof bytes, MSG_DONTWAIT)) > 0;)
            all.append(bytes, static_cast<std::size_t>(got));
        return all;
    }
    // Becomes the other end of a socket pair, which transfers bytes at once, unlike loopback.
    void pairWith(TCPSocket& socket) {
        int ends[2] = {-1, -1};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends), 0);
        socket.adopt(ends[0]);
        descriptor = ends[1];
    }

    int descriptor = -1;
};

class NotedSocket : public TCPSocket {
public:
    std::string events; // c, d and e: connected, data, error
    std::string received;
    std::function<void()> onData = [] {};

    void Event_Connected() override { events += 'c'; }
    void Event_DataAvailable() override {
        events += 'd';
        received += ReadAll().view();
        onData();
    }
    void Event_Error(const RuntimeException& error) override {
        events += 'e';
        EXPECT_FALSE(error.Message.empty() || IsConnected());
    }
};

struct Link {
    Ref<NotedSocket> near = Ref<NotedSocket>::make();
    Peer far;

    Link() { far.pairWith(*near); }
};

} // namespace hearthix
