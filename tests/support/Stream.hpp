// One end of a byte stream whose other end is the driver. Every wait has a limit: a driver that is silent for
// kPatience raises std::runtime_error with the bytes that are unread.
#pragma once

#include "tests/support/Packets.hpp"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace hearthix::test {

// Only prevents that a test hangs: long enough for the busiest machine.
constexpr std::chrono::seconds kPatience{300};

inline int check(int result, const char* what) {
    if (result < 0)
        throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
    return result;
}

// An open descriptor and its only owner.
class Descriptor {
public:
    explicit Descriptor(int value = -1) : value_(value) {}
    Descriptor(Descriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    ~Descriptor() { close(); }
    void close() {
        if (value_ >= 0)
            ::close(std::exchange(value_, -1));
    }
    int get() const { return value_; }
    bool waitFor(short events, std::chrono::milliseconds limit = kPatience) const {
        pollfd watch{value_, events, 0};
        return check(poll(&watch, 1, static_cast<int>(limit.count())), "poll") > 0;
    }

private:
    int value_;
};

class Stream {
public:
    Stream() = default;
    explicit Stream(Descriptor descriptor) : descriptor_(std::move(descriptor)) {
        check(fcntl(descriptor_.get(), F_SETFL, O_NONBLOCK), "fcntl");
        const int on = 1; // so that each write is sent at once
        setsockopt(descriptor_.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }

    void say(std::string_view bytes) {
        while (!bytes.empty()) {
            if (!descriptor_.waitFor(POLLOUT))
                throw std::runtime_error("the driver does not read");
            ssize_t count = send(descriptor(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (count < 0 && errno == ENOTSOCK) // a terminal
                count = ::write(descriptor(), bytes.data(), bytes.size());
            if (count < 0 && errno != EAGAIN)
                check(-1, "write");
            bytes.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
        }
    }
    std::string hear(std::size_t count) {
        while (pending().size() < count)
            await();
        start_ += count;
        return pending_.substr(start_ - count, count);
    }
    // Everything up to the first mark, without it.
    std::string hearUntil(std::string_view mark) {
        std::size_t end = 0;
        while ((end = pending().find(mark)) == std::string_view::npos)
            await();
        return hear(end + mark.size()).substr(0, end);
    }
    std::string hearToEnd() {
        while (receive()) {
        }
        return hear(pending().size());
    }
    // The bytes that have arrived and are unread; await waits for more of them.
    std::string_view pending() const { return std::string_view(pending_).substr(start_); }
    void await() {
        if (!receive())
            throw std::runtime_error("the driver has closed; " + unread());
    }
    // Whether a byte or the end arrives within the time given.
    bool hasNews(std::chrono::milliseconds limit) {
        return !pending().empty() || descriptor_.waitFor(POLLIN, limit);
    }
    void close() { descriptor_.close(); }
    // Ends the connection so that the peer sees a reset.
    void reset() {
        const linger atOnce{1, 0};
        setsockopt(descriptor(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
        close();
    }
    // Ends this direction only.
    void halfClose() { check(shutdown(descriptor(), SHUT_WR), "shutdown"); }
    int descriptor() const { return descriptor_.get(); }

private:
    std::string unread() const { return "unread: " + readable(pending().substr(0, 500)); }
    // False at the end of the stream, also when a terminal hangs up or a connection is reset.
    bool receive() {
        if (!descriptor_.waitFor(POLLIN))
            throw std::runtime_error("the driver is silent; " + unread());
        char bytes[65536];
        const ssize_t count = ::read(descriptor(), bytes, sizeof bytes);
        if (count < 0 && errno == EAGAIN)
            return true;
        if (count <= 0)
            return false;
        pending_.erase(0, std::exchange(start_, 0));
        pending_.append(bytes, static_cast<std::size_t>(count));
        return true;
    }

    Descriptor descriptor_;
    std::string pending_;
    std::size_t start_ = 0;
};

// A listener on a loopback port of the system's choice.
class Listener {
public:
    // With a small receive buffer, the driver soon can't send to a test that does not read.
    explicit Listener(int receiveBuffer = 0, int backlog = 8) {
        if (receiveBuffer > 0)
            setsockopt(descriptor_.get(), SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        check(bind(descriptor_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), "bind");
        check(listen(descriptor_.get(), backlog), "listen");
    }
    std::string port() const { return std::to_string(ntohs(address().sin_port)); }
    Stream accept() {
        if (!descriptor_.waitFor(POLLIN))
            throw std::runtime_error("the driver does not connect");
        return Stream(
            Descriptor(check(accept4(descriptor_.get(), nullptr, nullptr, SOCK_CLOEXEC), "accept")));
    }
    void close() { descriptor_.close(); }
    // A connection to this listener from the test itself.
    Descriptor connect() const {
        Descriptor end = newSocket();
        const sockaddr_in target = address();
        check(::connect(end.get(), reinterpret_cast<const sockaddr*>(&target), sizeof target), "connect");
        return end;
    }

private:
    static Descriptor newSocket() {
        return Descriptor(check(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket"));
    }
    sockaddr_in address() const {
        sockaddr_in address{};
        socklen_t size = sizeof address;
        check(getsockname(descriptor_.get(), reinterpret_cast<sockaddr*>(&address), &size), "getsockname");
        return address;
    }

    Descriptor descriptor_ = newSocket();
};

} // namespace hearthix::test
