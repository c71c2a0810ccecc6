// Packets of the host link as readable lines.
#pragma once

#include "hostlink/cHearthixCommand.hpp"

#include <vector>

namespace hearthix::sim {

// For a multipacket, one line of keys and values, followed by the lines of a document under "DATA"; for a
// common message, the record's own description.
std::vector<String> traceOf(const cHearthixCommand& packet);

} // namespace hearthix::sim
