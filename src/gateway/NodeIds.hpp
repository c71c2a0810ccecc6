// The choice of node IDs. The units of the host show which IDs are in use: every sensor that ever sent a
// value has a unit, and the address of a unit begins with the node ID.
#pragma once

#include "document/CXML.hpp"

namespace hearthix::mySensors {

// The result of chooseNodeId if no ID is left. 254 is never assigned to a node.
constexpr Integer kNoIdLeft = 254;

// Returns the ID for a new node: the highest ID in use plus one, or the highest free ID if that sum is above
// 253. Each unit is a container "unit" with an "Address". Without units the result is 1.
Integer chooseNodeId(const CXML& units);

} // namespace hearthix::mySensors
