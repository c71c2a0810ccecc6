#include "sim/Rig.hpp"

#include "runtime/process/ConsoleApplication.hpp"
#include "runtime/text/Numbers.hpp"

#include <string_view>
#include <utility>

namespace hearthix::sim {

Rig::Rig(const GatewaySettings& gatewaySettings, std::vector<MeshNode> nodes,
         const HostSettings& hostSettings, HostView& view)
    : gateway(gatewaySettings, std::move(nodes)), host(hostSettings, view) {
    gateway.noted = [&view](const String& text) { view.note("gateway", text); };
    gateway.sent = [this](const String& line) { check.sent(line); };
    gateway.received = [this](const String& line) { check.obeyed(line); };
    host.observed = [this](const cHearthixCommand& packet) { check.arrived(packet); };
    // The previous driver has ended before the next one connects.
    host.driverConnected = [this] { check.beginAnew(); };
}

void Rig::start() {
    gateway.open();
    host.view().note("gateway", concat("the gateway is ", gateway.where()));
    host.setTransport(gateway.transport());
    host.open();
    host.startDriver();
}

void Rig::close() {
    host.driverEnded = nullptr;
    host.close();
    gateway.close();
}

// A unit shows the latest value of its node. The host shows 0 as ON, and the command "ON" sends 1, so the
// command with the shown word always changes the value.
void Rig::commandNext() {
    const std::vector<Ref<HostUnit>>& units = host.model().units();
    for (std::size_t i = 0; i < units.size() && host.hasReadyDriver() && gateway.hasDriver(); ++i) {
        const HostUnit& unit = *units[nextUnit_++ % units.size()];
        const std::string_view address = unit.address.view();
        if (address.ends_with(".STATUS"))
            command(unit.value == "ON" ? "ON" : "OFF", unit);
        else if (address.ends_with(".PERCENT"))
            command("SetValue", unit, Val(unit.value) < 100 ? Str(Val(unit.value) + 25) : String("0"));
        else
            continue;
        return;
    }
}

void Rig::command(const String& word, const HostUnit& unit, const String& value) {
    check.commanded(word, unit.address, value);
    host.command(word, unit.address, value);
}

bool Rig::isSettled() const {
    return check.missing() == 0 && check.commandsMissing() == 0 && !gateway.hasUnsent() &&
           check.disagreements(host.model()) == 0;
}

bool Rig::settle(int milliseconds) {
    gateway.hush(true);
    ConsoleApplication::DoEvents(20);
    Integer arrived = 0;
    for (int waited = 0; waited < milliseconds && !isSettled() && host.hasDriver(); waited += 20) {
        ConsoleApplication::DoEvents(20);
        if (std::exchange(arrived, check.delivered()) != check.delivered())
            waited = 0;
    }
    return isSettled();
}

} // namespace hearthix::sim
