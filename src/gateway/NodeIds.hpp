// Node IDs. Which ones are taken is read from the host's units: every sensor that ever sent a value has one,
// and a unit's address begins with its node's ID.
#pragma once

#include "document/CXML.hpp"

namespace hearthix::mySensors {

// What chooseNodeId yields when no ID is left. As an ID of a node, 254 is never given away.
constexpr Integer kNoIdLeft = 254;

// The ID for a new node: the highest one in use plus one, and from 254 on the highest one that is free. The
// list has a container "unit" per unit with its "Address"; an empty list yields 1.
Integer chooseNodeId(const CXML& units);

} // namespace hearthix::mySensors
