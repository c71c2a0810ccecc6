// The subcommand "gateway".
#include "sim/GatewayServer.hpp"
#include "sim/MeshFile.hpp"
#include "sim/Session.hpp"
#include "sim/Subcommands.hpp"

namespace hearthix::sim {

namespace {

constexpr double kLongest = 1e6;

GatewaySettings settingsOf(const CommandLine& line) {
    GatewaySettings settings;
    line.exclude("tcp", "pty");
    line.exclude("mesh", "replay");
    line.exclude("rate", "replay");
    line.exclude("greet", "no-greet");
    settings.usePseudoTerminal = line.has("pty");
    settings.listen = line.address("tcp", settings.listen);
    settings.greet = (settings.usePseudoTerminal && !line.has("no-greet")) || line.has("greet");
    settings.silentAfter = line.number("silent-after", 0.1, kLongest, 0);
    settings.dropAfter = line.number("drop-after", 0.1, kLongest, 0);
    settings.fragment = line.has("fragment");
    settings.junk = line.number("junk", 0, 100, 0);
    settings.rate = line.number("rate", 0.1, 100'000, 0);
    settings.recordFile = line.text("record");
    if (line.has("replay"))
        settings.replay = loadRecording(line.text("replay"));
    return settings;
}

} // namespace

const CommandUsage& gatewayUsage() {
    static const std::string kNotes = std::string(kMeshGrammar) + "\nCommands on standard input: quit";
    static const CommandUsage kUsage{
        "gateway",
        "Stands in for a MySensors gateway with a mesh of nodes behind it.",
        {{"tcp", "ADDRESS:PORT", "listen here, 127.0.0.1:5003 by default; port 0 takes\na free one"},
         {"pty", nullptr, "be a serial line, a pseudo-terminal; its path is\nprinted"},
         {"mesh", "FILE", "the nodes, described below; a small house by default"},
         {"greet", nullptr,
          "say that the gateway is ready as soon as a driver\nconnects; a driver on TCP takes that badly"},
         {"no-greet", nullptr, "don't; the default on TCP"},
         {"rate", "N", "send N reports a second, whatever the mesh's schedule"},
         {"fragment", nullptr, "send in small pieces"},
         {"junk", "PERCENT", "follow so many of the lines by a line of junk"},
         {"silent-after", "SECONDS", "say nothing any more from then on"},
         {"drop-after", "SECONDS", "end the connection then"},
         {"record", "FILE", "write down every line with its direction and time"},
         {"replay", "FILE", "send what such a file holds, in its own time"}},
        kNotes.c_str()};
    return kUsage;
}

int runGateway(const std::vector<String>& words) {
    const CommandLine line(gatewayUsage(), words);
    const GatewaySettings settings = settingsOf(line);
    std::vector<MeshNode> nodes = line.has("mesh") ? loadMesh(line.text("mesh")) : standardMesh();
    Session session(false);
    GatewayServer gateway(settings, std::move(nodes));
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
