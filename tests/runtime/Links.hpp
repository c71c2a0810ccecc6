// A connection inside of one process: a socket that notes its events, and the raw other end.
#pragma once

#include "runtime/events/TCPSocket.hpp"
#include "runtime/process/ConsoleApplication.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include <sys/socket.h>
#include <unistd.h>

namespace hearthix {

// Runs events until something holds; false when it doesn't within some ten seconds.
inline bool serveUntil(const std::function<bool()>& done) {
    for (int turn = 0; turn < 2000 && !done(); ++turn)
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
    // As much as the system takes.
    std::size_t send(std::string_view bytes) {
        const ssize_t sent = ::send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        return sent < 0 ? 0 : static_cast<std::size_t>(sent);
    }
    // All that has arrived.
    std::string take() {
        std::string all;
        char bytes[65536];
        for (ssize_t got = 0; (got = recv(descriptor, bytes, sizeof bytes, MSG_DONTWAIT)) > 0;)
            all.append(bytes, static_cast<std::size_t>(got));
        return all;
    }
    // Becomes the other end of a socket pair, whose bytes cross at once, while those of loopback take time.
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
