// The starts of a program that a host takes for the driver.
//
// The program is a small script that becomes "hearthix-sim check-host". It sends the host's arguments to the
// check that is under way, and ends when and how the check asks it to; the check itself plays the driver.
#pragma once

#include "runtime/events/TCPSocket.hpp"
#include "runtime/values/Clock.hpp"
#include "sim/SocketAddress.hpp"
#include "sim/system/ListeningSocket.hpp"

#include <deque>
#include <vector>

namespace hearthix::sim {

// How a driver's process ends.
enum class DriverEnd { status0, status1, killed };

class DriverStarts {
public:
    DriverStarts();
    ~DriverStarts();

    // Writes the program to this path; raises Failure when that is impossible.
    void writeProgram(const String& path);

    // Moves on to the next start, if there is one.
    bool takeNext();
    // Of the start that was taken last. The host's address and the connection ID are what the host has given
    // to the program.
    SocketAddress host() const { return {argument(1), ValInteger(argument(2))}; }
    String connectionId() const { return argument(3); }
    clocks::Nanoseconds startedAt() const;
    clocks::Nanoseconds endedAt() const;
    bool isRunning() const;
    // Makes the program end, and waits for that.
    void end(DriverEnd how);

private:
    class Child;

    String argument(Integer index) const;

    std::deque<Ref<Child>> waiting_; // in the order of their starts
    Ref<Child> current_;
    String path_;
    Ref<ListeningSocket> listener_;
};

// The program itself: reports its arguments to the check on this port, and returns the exit status.
int runStartedDriver(const std::vector<String>& arguments, Integer port);

} // namespace hearthix::sim
