// Connects a driver to its gateway, passes the bytes on as they arrive, and records every line.
//
// The driver connects to the same kind of device: a pseudo-terminal for a serial port (also for socket://), a
// loopback port for an address. The tap opens the gateway when the driver opens its device, and closes one
// side when the other closes.
#pragma once

#include "runtime/events/Serial.hpp"
#include "runtime/values/Clock.hpp"
#include "sim/Recording.hpp"
#include "sim/system/ListeningSocket.hpp"
#include "sim/system/PseudoTerminal.hpp"

#include <array>
#include <functional>
#include <vector>

namespace hearthix::sim {

class GatewayTap {
public:
    // The driver's arguments for the gateway: a serial port's name, or address and port.
    explicit GatewayTap(const std::vector<String>& gateway);
    ~GatewayTap();

    // Raises Failure when the file or the device for the driver cannot be opened.
    void open(const String& recordFile);
    // The driver's arguments for the tap; they change after the gateway has closed.
    std::vector<String> transport() const;
    // Why the gateway could not be opened, or has closed; empty if neither has happened.
    const String& trouble() const noexcept { return trouble_; }

private:
    class Line;
    class Link;

    void openTerminal();
    void newTerminal() const;
    void accept(int descriptor);
    void openGateway();
    void carry(StreamDevice& from, StreamDevice& to);
    void gatewayGone(const std::error_code& error);
    void driverGone();

    std::vector<String> words_;
    Recorder recorder_;
    Ref<Line> gateway_; // for an address, a socket:// line
    Ref<PseudoTerminal> terminal_;
    Ref<ListeningSocket> listener_;
    Ref<Link> accepted_;
    StreamDevice* driver_ = nullptr;  // terminal_ or accepted_ while a driver is connected
    std::array<String, 2> unended_{}; // incomplete lines, from the driver and to it
    clocks::Nanoseconds begunAt_ = 0; // when the first driver connected
    String trouble_;
};

} // namespace hearthix::sim
