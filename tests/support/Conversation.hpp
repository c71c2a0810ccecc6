// A host, a gateway and a driver between them, up to the ready text. What one side says is answered with all
// that the driver did about it: the statement ends only when a marker of the test's own has gone through the
// driver behind it, in both directions, so an effect too many shows like one that is missing.
#pragma once

#include "tests/support/DriverProcess.hpp"
#include "tests/support/FakeGateway.hpp"
#include "tests/support/FakeHost.hpp"

namespace hearthix::test {

struct Effects {
    Packets host;
    std::string gateway;
    bool operator==(const Effects&) const = default;
};
void PrintTo(const Effects& effects, std::ostream* out);

inline Effects effects(Packets host, std::string gateway = {}) {
    return {std::move(host), std::move(gateway)};
}

inline Packet readyText() {
    return log("mySensors Serial Remote Control interface version 1.2 (build 005) ready.");
}

class Conversation {
public:
    explicit Conversation(Transport transport = Transport::tcp, std::vector<std::string> wrapper = {},
                          int hostReceiveBuffer = 0);

    Effects gatewaySays(std::string_view lines);
    Effects hostSends(std::string_view packets);
    // The line that marks the end of a statement: in debug mode the driver reads it with what it follows.
    static std::string markerLine();

    FakeHost host;
    FakeGateway gateway;
    DriverProcess driver;
    // Set it when the driver's debug mode is on, to leave the marker's own detail lines out.
    bool debug = false;

private:
    Packets packetsUpToMarker(std::size_t details);
};

} // namespace hearthix::test
