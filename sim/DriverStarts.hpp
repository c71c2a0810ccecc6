// The starts of a program that a host starts as its driver.
//
// The program is a small script that becomes "hearthix-sim check-host". It sends the arguments from the host
// to the running check, and ends when and how the check requests. The check itself acts as the driver.
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

    // Selects the next start. Returns false if there is none yet.
    bool takeNext();
    // These describe the latest start. The address of the host and the connection ID are arguments from the
    // host.
    SocketAddress host() const { return {argument(1), ValInteger(argument(2))}; }
    String connectionId() const { return argument(3); }
    clocks::Nanoseconds startedAt() const;
    clocks::Nanoseconds endedAt() const;
    bool isRunning() const;
    // Makes the program end, and waits until it has ended.
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
