// What becomes of each packet from the host.
#pragma once

#include "hostlink/cHearthixCommand.hpp"

namespace hearthix::CommandSupportModule {

// Settles quit, debug, raw data and the host's ping. All other multipackets are the gateway driver's; any
// other common message for the controller is dropped. A common message that isn't for the controller has no
// entries to look at and ends in a NilObjectException, as does a command for the gateway that comes before
// the gateway driver exists.
void HandleIncomingCommand(const Ref<cHearthixCommand>& command);

} // namespace hearthix::CommandSupportModule
