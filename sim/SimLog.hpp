// The log of the parts that the stand-ins share with the driver: lines that the driver would send to its
// host.
#pragma once

#include "runtime/String.hpp"

#include <functional>

namespace hearthix::sim {

// Where such lines go; standard error while nothing is set.
extern std::function<void(const String& line)> logSink;

} // namespace hearthix::sim
