// A program under measurement between a host and a gateway, which this program plays: everything that comes
// out is compared with what must come out, and every wait has an end.
//
// Throws std::runtime_error when the program ends, falls silent for ten seconds or says something else.
#pragma once

#include "Channel.hpp"
#include "Process.hpp"
#include "Workload.hpp"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace hearthix::bench {

enum class Link { tcp, pseudoTerminal };

// A program, and the end of what it says when it gets ready.
struct Subject {
    std::string path;
    std::string readyMark;
};

class Rig {
public:
    // Starts the program and returns once it is ready.
    Rig(const Subject& subject, Link link);

    const Process& process() const noexcept { return *process_; }
    // From its connection to the host, which ends the random pause, until it was ready.
    double startNanoseconds() const noexcept { return startNanoseconds_; }

    // Lets the program meet the endpoints of these values; what it says about them is not looked at.
    void introduce(const Values& values);
    // The first values as fast as they are accepted, written in chunks of so many bytes.
    void sendLines(const Values& values, std::size_t count, std::size_t chunk);
    // The first commands as fast as they are accepted, with at most so many under way. Each is written in one
    // piece, as hosts do; the order in which they reach the gateway is not looked at.
    void sendCommands(const Commands& commands, std::size_t count, std::size_t underWay);
    // One line or command, and nanoseconds until it has come out at the other end.
    double sendLine(const Values& values, std::size_t index);
    double sendCommand(const Commands& commands, std::size_t index);

private:
    void awaitReady(const std::string& mark);
    void awaitMovement(bool wantsRoom);
    // Sends the lines and hands what comes to the host over, until finished says so.
    void pump(std::string_view lines, std::size_t chunk, const std::function<void(std::string_view)>& receive,
              const std::function<bool()>& finished);

    Channel host_;
    Channel gateway_;
    std::unique_ptr<Process> process_; // behind the channels, so that it ends before they close
    double startNanoseconds_ = 0;
};

} // namespace hearthix::bench
