// Where every endpoint is found.
#pragma once

#include "runtime/Dictionary.hpp"

namespace hearthix::mySensors {

// From a root address (two hexadecimal digits of the node, two of the child, as in 0A03) to its cMSEndpoint.
// Nil until start-up; nothing is ever removed from it.
extern Ref<Dictionary> AddressIndex;

// The root address of a child, from the low byte of either number.
String rootAddressOf(Integer node, Integer child);
// The root address of the node as a whole.
String nodeAddressOf(Integer node);

} // namespace hearthix::mySensors
