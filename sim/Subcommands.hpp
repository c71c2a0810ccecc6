// The subcommands. Each takes the words behind its name and returns the exit status; each raises UsageError
// or Failure for what it cannot do.
#pragma once

#include "sim/CommandLine.hpp"

#include <vector>

namespace hearthix::sim {

const CommandSpec& hostSpec();
int runHost(const std::vector<String>& words);

const CommandSpec& gatewaySpec();
int runGateway(const std::vector<String>& words);

const CommandSpec& demoSpec();
int runDemo(const std::vector<String>& words);

// The driver that stands beside this program.
String defaultDriver();

} // namespace hearthix::sim
