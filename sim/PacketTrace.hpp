// Packets of the host link as readable lines.
#pragma once

#include "hostlink/cHearthixCommand.hpp"

#include <vector>

namespace hearthix::sim {

// One line of keys and values for a multipacket, with a document under "DATA" laid out below it; the record's
// own description for a common message.
std::vector<String> traceOf(const cHearthixCommand& packet);

} // namespace hearthix::sim
