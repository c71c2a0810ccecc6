// A program under measurement, which is the driver or the relay, between a fake host and a fake gateway.
//
// All values are numbers of variable type 0, for which the driver and the relay send the same answers: a line
// from the gateway becomes one value packet at the host; a command from the host becomes one line at the
// gateway and one log packet at the host. Every byte that a program sends is compared with the expected byte.
#pragma once

#include "bench/Results.hpp"
#include "tests/support/Conversation.hpp"

#include <cstddef>
#include <functional>

namespace hearthix::bench {

// Messages in one buffer, one after the other.
struct Messages {
    std::string bytes;
    std::vector<std::size_t> starts{0};

    void add(std::string_view message) { starts.push_back(bytes.append(message).size()); }
    std::string_view at(std::size_t index) const {
        return std::string_view(bytes).substr(starts.at(index), starts.at(index + 1) - starts.at(index));
    }
};

// Random values of random endpoints; the same ones in every run.
struct Workload {
    Workload(std::size_t endpoints, std::size_t count);

    Messages lines;    // from the gateway as a value, and to the gateway as a command
    Messages values;   // to the host
    Messages commands; // from the host
    Messages logs;     // to the host, one for each command
};

class Rig {
public:
    // Starts the program, waits until it is ready, and sends one value of each endpoint.
    Rig(const std::string& program, std::size_t endpoints);

    void sendLines(const Workload& workload, std::size_t chunk);
    // Each returns microseconds until the answer arrives.
    double sendLine(const Workload& workload, std::size_t index);
    double sendCommand(const Workload& workload, std::size_t index);

    double startMilliseconds() const { return startMilliseconds_; }
    // CPU time in nanoseconds since the start of the program. Waits until the program sleeps.
    double cpu() const;
    double residentKibibytes() const { return static_cast<double>(program_.residentBytes()) / 1024; }
    // How often the program has waited for an event.
    double wakeUps() const { return statusNumber("voluntary_ctxt_switches:"); }
    // System calls of the program during the work, counted by strace; kNone where strace can't trace.
    double systemCallsDuring(const std::function<void()>& work) const;

private:
    double statusNumber(const std::string& label) const;

    test::FakeHost host_;
    test::FakeGateway gateway_{test::Transport::tcp};
    test::Program program_;
    double startMilliseconds_ = 0;
};

// Throughput is measured with the programs on the first processor and this one on the last; latency with
// everything on the first, where it does not depend on the scheduler's choices.
enum class Processor { first, last };
void useProcessor(Processor which, pid_t process = 0);

} // namespace hearthix::bench
