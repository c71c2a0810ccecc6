// The dispatch of packets from the host.
#pragma once

#include "hostlink/cHearthixCommand.hpp"

namespace hearthix::CommandSupportModule {

// Handles quit, debug, raw data and ping. Other multipackets go to the gateway driver; other common messages
// for the controller are ignored. NilObjectException is raised by a common message that is not for the
// controller, because it has no entries, and by a command for the gateway before the gateway driver exists.
void HandleIncomingCommand(const Ref<cHearthixCommand>& command);

} // namespace hearthix::CommandSupportModule
