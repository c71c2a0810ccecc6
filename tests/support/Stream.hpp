// One end of a byte stream whose other end is the driver. Every wait has a limit: a driver that is silent for
// kPatience raises std::runtime_error with the bytes that are unread.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <utility>

namespace hearthix::test {

// Only prevents that a test hangs: long enough for the busiest machine.
constexpr std::chrono::seconds kPatience{300};

// An open descriptor and its only owner.
class Descriptor {
public:
    explicit Descriptor(int value = -1) : value_(value) {}
    Descriptor(Descriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept;
    ~Descriptor() { close(); }
    void close();
    int get() const { return value_; }

private:
    int value_;
};

class Stream {
public:
    Stream() = default;
    explicit Stream(Descriptor descriptor);

    void say(std::string_view bytes);
    std::string hear(std::size_t count);
    // Everything up to the first mark, without it.
    std::string hearUntil(std::string_view mark);
    std::string hearToEnd();
    // The bytes that have arrived and are unread; await waits for more of them.
    std::string_view pending() const { return std::string_view(pending_).substr(start_); }
    void await();
    // Whether a byte or the end arrives within the time given.
    bool hasNews(std::chrono::milliseconds limit);
    void close() { descriptor_.close(); }
    // Ends the connection so that the peer sees a reset.
    void reset();
    // Ends this direction only.
    void halfClose();
    int descriptor() const { return descriptor_.get(); }

private:
    bool receive();

    Descriptor descriptor_;
    std::string pending_;
    std::size_t start_ = 0;
};

// A listener on a loopback port of the system's choice.
class Listener {
public:
    // With a small receive buffer, the driver soon can't send to a test that does not read.
    explicit Listener(int receiveBuffer = 0, int backlog = 8);
    std::string port() const;
    Stream accept();
    void close() { descriptor_.close(); }
    // A connection to this listener from the test itself.
    Descriptor connect() const;

private:
    Descriptor descriptor_;
};

} // namespace hearthix::test
