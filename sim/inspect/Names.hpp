// Names of types and addresses for people that the driver's own vocabulary does not contain.
#pragma once

#include "runtime/text/String.hpp"

#include <string>

namespace hearthix::sim {

// The protocol's name of a variable type that the driver has no name for, or the same name as for another
// one.
std::string protocolName(Integer type);
// The name of a type that a child presents, which comes as a decimal number.
std::string presentedName(const std::string& type);
// Two hexadecimal digits of the node, two of the child.
std::string addressOf(Integer node, Integer child);
// Whether the driver has a name for a variable type.
bool isNamedType(Integer type);

} // namespace hearthix::sim
