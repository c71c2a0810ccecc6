#include "tests/support/Conversation.hpp"

#include <algorithm>
#include <ostream>

namespace hearthix::test {

namespace {

constexpr std::string_view kMarker = "#\n";

} // namespace

Conversation::Conversation(Transport transport, std::vector<std::string> wrapper, int hostReceiveBuffer)
    : host(hostReceiveBuffer), gateway(transport),
      driver(gateway.arguments(host.port()), std::move(wrapper)) {
    host.accept();
    gateway.accept();
    if (const Packet first = host.next(); first != readyText())
        throw std::runtime_error("not ready: " + readable(first));
}

std::string Conversation::markerLine() {
    return "0;255;3;0;9;#\n";
}

Packets Conversation::packetsUpToMarker(std::size_t details) {
    Packets packets = host.until(log("Gateway Message: #"));
    if (debug)
        packets.resize(packets.size() - std::min(packets.size(), details));
    return packets;
}

Effects Conversation::gatewaySays(std::string_view lines) {
    gateway.say(std::string(lines) + markerLine());
    Effects result;
    result.host = packetsUpToMarker(2);
    host.say(rawData(kMarker));
    result.gateway = gateway.hearUntil(kMarker);
    return result;
}

Effects Conversation::hostSends(std::string_view packets) {
    host.say(std::string(packets) + rawData(kMarker));
    Effects result;
    result.gateway = gateway.hearUntil(kMarker);
    gateway.say(markerLine());
    result.host = packetsUpToMarker(3);
    return result;
}

void PrintTo(const Effects& effects, std::ostream* out) {
    *out << "to the host:";
    for (const Packet& packet : effects.host)
        PrintTo(packet, out);
    *out << "\nto the gateway:\n    " << readable(effects.gateway);
}

} // namespace hearthix::test
