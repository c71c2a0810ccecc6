// Stands between a driver and its gateway, hands the bytes on as they come, and writes every line down.
//
// The driver finds an end of the same kind: a pseudo-terminal for a serial port (socket:// included), a port
// on loopback for an address. The gateway is opened when the driver opens its end, and where one side ends
// the other does.
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
    // The words by which a driver would find the gateway: a serial port's name, or address and port.
    explicit GatewayTap(const std::vector<String>& gateway);
    ~GatewayTap();

    // Raises Failure when there can be no such file or end.
    void open(const String& recordFile);
    // The words by which a driver finds this end; others after the gateway has gone.
    std::vector<String> transport() const;
    // Why the gateway could not be had, or has gone; empty while nothing is wrong with it.
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
    Ref<Line> gateway_; // an address is a line on the network, too
    Ref<PseudoTerminal> terminal_;
    Ref<ListeningSocket> listener_;
    Ref<Link> accepted_;
    StreamDevice* driver_ = nullptr;  // one of the two, while it is there
    std::array<String, 2> unended_{}; // the beginning of a line, from the driver and to it
    clocks::Nanoseconds begunAt_ = 0; // when a driver came first
    String trouble_;
};

} // namespace hearthix::sim
