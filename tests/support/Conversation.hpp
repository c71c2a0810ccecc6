// A host, a gateway and a driver between them, from the ready text on. Each statement sends something and
// returns everything that the driver sends in response. It ends when a marker has passed through the driver
// in both directions, so an unexpected effect is noticed as well as a missing one.
#pragma once

#include "tests/support/DriverProcess.hpp"
#include "tests/support/Packets.hpp"
#include "tests/support/Stream.hpp"

#include <algorithm>
#include <cstdlib>
#include <ostream>
#include <stdexcept>
#include <vector>

#include <fcntl.h>

namespace hearthix::test {

// Hearthix as the driver sees it: a listener on a port that the system chooses, then one connection.
class FakeHost : public Stream {
public:
    explicit FakeHost(int receiveBuffer = 0) : listener_(receiveBuffer) {}
    std::string port() const { return listener_.port(); }

    // Waits for the driver, and returns the connection ID of its opening line.
    std::string accept() {
        static_cast<Stream&>(*this) = listener_.accept();
        const std::string line = hearUntil("\r");
        if (!line.starts_with("MYSENSORS:"))
            throw std::runtime_error("no opening line: " + readable(line));
        return line.substr(10);
    }

    Packet next() {
        std::size_t length = 0;
        while ((length = packetLength(pending())) == 0 || pending().size() < length)
            await();
        return {hear(length)};
    }

    // All packets before this one.
    Packets until(const Packet& last) {
        Packets packets;
        for (Packet packet = next(); packet != last; packet = next())
            packets.push_back(std::move(packet));
        return packets;
    }

    Packets untilEnd() { return packetsIn(hearToEnd()); }
    void stopListening() { listener_.close(); }

private:
    Listener listener_;
};

// A MySensors gateway as the driver sees it: on a TCP port that the system chooses (tcp), on the same port
// named as a serial line on the network (network), or on a pseudo-terminal (serial).
enum class Transport { tcp, network, serial };
constexpr Transport kTransports[]{Transport::tcp, Transport::network, Transport::serial};

class FakeGateway : public Stream {
public:
    explicit FakeGateway(Transport transport) {
        if (transport == Transport::network)
            device_ = "socket://127.0.0.1:" + port();
        if (transport != Transport::serial)
            return;
        Descriptor ours(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
        char name[128];
        if (grantpt(ours.get()) != 0 || unlockpt(ours.get()) != 0 ||
            ptsname_r(ours.get(), name, sizeof name) != 0)
            throw std::runtime_error("no pseudo-terminal");
        device_ = name;
        static_cast<Stream&>(*this) = Stream(std::move(ours));
    }

    // The command line of a driver for this gateway.
    std::vector<std::string> arguments(const std::string& hostPort, const std::string& id = "7") const {
        if (device_.empty())
            return {"IP", "127.0.0.1", hostPort, id, "127.0.0.1", listener_.port()};
        return {device_, "127.0.0.1", hostPort, id};
    }

    // Waits for the driver, unless the gateway is a terminal.
    void accept() {
        if (!device_.starts_with("/"))
            static_cast<Stream&>(*this) = listener_.accept();
    }

    void stopListening() { listener_.close(); }
    std::string port() const { return listener_.port(); }
    const std::string& device() const { return device_; }

private:
    Listener listener_;
    std::string device_;
};

struct Effects {
    Packets host;
    std::string gateway;
    bool operator==(const Effects&) const = default;
};
inline void PrintTo(const Effects& effects, std::ostream* out) {
    *out << "to the host:";
    for (const Packet& packet : effects.host)
        PrintTo(packet, out);
    *out << "\nto the gateway:\n    " << readable(effects.gateway);
}

inline Effects effects(Packets host, std::string gateway = {}) {
    return {std::move(host), std::move(gateway)};
}

inline Packet readyText() {
    return log("mySensors Serial Remote Control interface version 1.2 (build 005) ready.");
}

class Conversation {
public:
    explicit Conversation(Transport transport = Transport::tcp, std::vector<std::string> wrapper = {},
                          int hostReceiveBuffer = 0)
        : host(hostReceiveBuffer), gateway(transport),
          driver(gateway.arguments(host.port()), std::move(wrapper)) {
        host.accept();
        gateway.accept();
        if (const Packet first = host.next(); first != readyText())
            throw std::runtime_error("not ready: " + readable(first));
    }

    Effects gatewaySays(std::string_view lines) {
        gateway.say(std::string(lines) + markerLine());
        Packets packets = packetsUpToMarker(2);
        host.say(rawData("#\n"));
        return {std::move(packets), gateway.hearUntil("#\n")};
    }
    Effects hostSends(std::string_view packets) {
        host.say(std::string(packets) + rawData("#\n"));
        std::string lines = gateway.hearUntil("#\n");
        gateway.say(markerLine());
        return {packetsUpToMarker(3), std::move(lines)};
    }
    // The line that ends a statement. In debug mode it appears in the log, because the driver reads it
    // together with the lines before it.
    static std::string markerLine() { return "0;255;3;0;9;#\n"; }

    FakeHost host;
    FakeGateway gateway;
    DriverProcess driver;
    // Set this while the driver's debug mode is on, to leave out the lines about the marker.
    bool debug = false;

private:
    Packets packetsUpToMarker(std::size_t details) {
        Packets packets = host.until(log("Gateway Message: #"));
        if (debug)
            packets.resize(packets.size() - std::min(packets.size(), details));
        return packets;
    }
};

} // namespace hearthix::test
