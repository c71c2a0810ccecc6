// What a received common message can touch outside of its own record.
#pragma once

#include "runtime/text/String.hpp"

namespace hearthix {

class cHearthixCommand;

namespace HearthixSupport {

// The latest signal strength that the host has sent. Kept for callers that know it; nothing here uses it.
extern Integer gSignalStrength;

// Called for each error and log packet from the host. Neither has any further effect.
void ErrorPacketReceived(const cHearthixCommand& command);
void LogCommandReceived(const cHearthixCommand& command);

} // namespace HearthixSupport
} // namespace hearthix
