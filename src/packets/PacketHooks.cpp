#include "packets/PacketHooks.hpp"

namespace hearthix::HearthixSupport {

Integer gSignalStrength = 0;

void ErrorPacketReceived(const cHearthixCommand&) {
}

void LogCommandReceived(const cHearthixCommand&) {
}

} // namespace hearthix::HearthixSupport
