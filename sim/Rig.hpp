// Runs a host and a gateway in this process and the driver as a child between them, and checks what arrives.
//
// It starts the driver; the owner decides when to command a unit. Events are reported to the view, which must
// outlive this object.
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

    // Raises Failure if a port is unavailable or the driver cannot be started.
    void start();
    void close();
    // Commands the next unit, in turn, of those that can be commanded. Does nothing while no driver is ready.
    void commandNext();
    // Stops the reports of the gateway and waits until everything that was sent has arrived. Gives up, and
    // returns false, if nothing arrives for so many milliseconds or the driver has gone.
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
