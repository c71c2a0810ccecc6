// A host, a gateway and a driver between them, up to the ready text. What one side says is answered with all
// that the driver did about it: the statement ends only when a marker of the test's own has gone through the
// driver behind it, in both directions, so an effect too many shows like one that is missing.
#pragma once

#include "tests/support/DriverProcess.hpp"
#include "tests/support/Packets.hpp"
#include "tests/support/Stream.hpp"

#include <cstdlib>
#include <stdexcept>
#include <vector>

#include <fcntl.h>

namespace hearthix::test {

// Hearthix as the driver sees it: a listener on a port of the system's choice, then one connection on which
// packets go both ways.
class FakeHost : public Stream {
public:
    explicit FakeHost(int receiveBuffer = 0) : listener_(receiveBuffer) {}
    std::string port() const { return listener_.port(); }

    // Waits for the driver and returns the connection ID of its opening line.
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

    // All packets up to this one, without it.
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

// A MySensors gateway as the driver sees it: on a TCP port of the system's choice, which it may be given as a
// serial line on the network as well, or on a pseudo-terminal with the kernel's own line discipline in
// between.
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

    // The command line that leads a driver here.
    std::vector<std::string> arguments(const std::string& hostPort, const std::string& id = "7") const {
        if (device_.empty())
            return {"IP", "127.0.0.1", hostPort, id, "127.0.0.1", listener_.port()};
        return {device_, "127.0.0.1", hostPort, id};
    }

    // Waits for the driver; a terminal is there from the start.
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
