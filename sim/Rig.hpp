// Host and gateway in this process, the driver between them as a child, and the check of what came through.
//
// It starts the driver and does nothing else by itself: whoever runs it tells it when to command a unit, and
// the view, which must outlive it, hears the rest.
#pragma once

#include "sim/DeliveryCheck.hpp"
#include "sim/GatewayServer.hpp"
#include "sim/Host.hpp"

#include <vector>

namespace hearthix::sim {

class Rig {
public:
    Rig(const GatewaySettings& gatewaySettings, std::vector<MeshNode> nodes, const HostSettings& hostSettings,
        HostView& view);

    // Raises Failure when a port or the driver can't be had.
    void start();
    void close();
    // Goes round the units that can be commanded; does nothing while no driver is ready.
    void commandNext();
    // Nothing new is begun; what is under way gets time to arrive, as long as something does. False when not
    // all of it comes.
    bool settle(int milliseconds);

    GatewayServer gateway;
    Host host;
    DeliveryCheck check;

private:
    void command(const String& word, const HostUnit& unit, const String& value = String());
    bool isSettled() const;

    std::size_t nextUnit_ = 0;
};

} // namespace hearthix::sim
