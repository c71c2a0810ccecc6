// The subcommands. Each takes what the command line says and returns the exit status; each raises Failure
// for what it cannot do.
#pragma once

#include "sim/GatewayServer.hpp"
#include "sim/Host.hpp"

#include <optional>

namespace hearthix::sim {

// Of check-host. Either it connects to a host, or it writes a program for the host to start.
struct CheckSettings {
    SocketAddress host;
    String connectionId = "SIM";
    String program;            // path; empty to connect
    String answers;            // the script that acts at the host; empty for a person
    std::vector<String> words; // the host's program, or the driver's arguments from a host
};

// Each subcommand uses the settings that its help names.
struct Settings {
    GatewaySettings gateway;
    HostSettings host;
    CheckSettings check;
    double seconds = 0; // how long it runs; 0 for as long as nobody ends it
    String meshFile;    // empty for the standard mesh
    String replayFile;
    String recordFile; // of what a host's driver and its gateway say; empty for none
    bool json = false;
    Integer count = 0;   // values after which the host ends; 0 for none
    String untilAddress; // the unit whose value ends it; empty for none
    std::optional<String> untilValue;
};

int runDemo(const Settings& settings);
int runSoak(const Settings& settings);
int runHost(const Settings& settings);
int runGateway(const Settings& settings);
int runCheckHost(const Settings& settings);
int runTypes(const Settings& settings);

} // namespace hearthix::sim
