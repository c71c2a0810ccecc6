// The subcommand "gateway".
#include "sim/Failure.hpp"
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
    bool refused = false;
    session.entered = [&session, &view, &refused](const String& text) {
        if (text == "quit")
            return session.end();
        refused = refused || !text.empty();
        if (!text.empty())
            view.note("help", concat("there is no command '", text, "'; the only command is quit"));
    };
    gateway.open();
    view.note("gateway", concat("the gateway is ", gateway.where()));
    session.run();
    if (refused && !ConsoleInput::isTerminal())
        throw Failure{"not every line on standard input was a command; the only command is quit"};
    return 0;
}

} // namespace hearthix::sim
