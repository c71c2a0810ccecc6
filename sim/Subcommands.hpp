// The subcommands. Each returns the exit status, and raises Failure if it cannot do its task.
#pragma once

#include "sim/GatewayServer.hpp"
#include "sim/Host.hpp"

#include <optional>

namespace hearthix::sim {

// The settings of check-host. It either connects to a host, or writes a program that the host starts.
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
    double seconds = 0; // how long it runs; 0 for no limit
    String meshFile;    // empty for the standard mesh
    String replayFile;
    String recordFile; // of the lines between a host's driver and its gateway; empty for none
    bool json = false;
    Integer count = 0;   // values after which the host ends; 0 for none
    String untilAddress; // the unit whose value ends it; empty for none
    std::optional<String> untilValue;
    String inspectFile = "-"; // the recording to be described; "-" for standard input
    bool follow = false;      // continues while the file grows
};

int runDemo(const Settings& settings);
int runSoak(const Settings& settings);
int runHost(const Settings& settings);
int runGateway(const Settings& settings);
int runInspect(const Settings& settings);   // 3 if the mesh has a problem
int runCheckHost(const Settings& settings); // 3 when a rule was broken, 4 when one was not seen
int runTypes(const Settings& settings);

} // namespace hearthix::sim
