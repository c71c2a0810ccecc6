// The one request that the driver makes of the host.
#pragma once

namespace hearthix::CommandSupportModule {

// Asks the host for its list of units. The answer comes later, as a "setUnits" multipacket.
void GetUnitsFromHearthix();

} // namespace hearthix::CommandSupportModule
