// The subcommand "gateway".
#include "sim/MeshFile.hpp"
#include "sim/Session.hpp"
#include "sim/Subcommands.hpp"

namespace hearthix::sim {

int runGateway(const Settings& settings) {
    GatewaySettings gatewaySettings = settings.gateway;
    if (!settings.replayFile.empty())
        gatewaySettings.replay = loadRecording(settings.replayFile);
    GatewayServer gateway(std::move(gatewaySettings), loadMesh(settings.meshFile));
    Session session(Session::Shows::lines);
    HostView& view = session.view();
    gateway.noted = [&view](const String& text) { view.note("gateway", text); };
    gateway.sent = [&view](const String& text) { view.note("sent", text); };
    gateway.received = [&view](const String& text) { view.note("received", text); };
    session.entered = [&session, &view](const String& text) {
        if (text == "quit")
            session.end();
        else if (!text.empty())
            view.note("help", "the one command is quit");
    };
    gateway.open();
    view.note("gateway", concat("the gateway is ", gateway.where()));
    session.run();
    return 0;
}

} // namespace hearthix::sim
