// The subcommands. Each takes the words behind its name and returns the exit status; each raises UsageError
// or Failure for what it cannot do.
#pragma once

#include "sim/CommandLine.hpp"

#include <vector>

namespace hearthix::sim {

const CommandUsage& hostUsage();
int runHost(const std::vector<String>& words);

const CommandUsage& gatewayUsage();
int runGateway(const std::vector<String>& words);

const CommandUsage& demoUsage();
int runDemo(const std::vector<String>& words);

const CommandUsage& soakUsage();
int runSoak(const std::vector<String>& words);

// The driver that stands beside this program.
String defaultDriver();

} // namespace hearthix::sim
