// Hearthix as the driver sees it: a listener on a port of the system's choice, then one connection on which
// packets go both ways.
#pragma once

#include "tests/support/Packets.hpp"
#include "tests/support/Stream.hpp"

#include <stdexcept>

namespace hearthix::test {

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

    // All packets up to the end of the connection; one that is cut off counts as one.
    Packets untilEnd() {
        Packets packets;
        std::string rest = hearToEnd();
        while (!rest.empty()) {
            packets.push_back({rest.substr(0, packetLength(rest + "\1\1"))});
            rest.erase(0, packets.back().bytes.size());
        }
        return packets;
    }

    void stopListening() { listener_.close(); }

private:
    Listener listener_;
};

} // namespace hearthix::test
