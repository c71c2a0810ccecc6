// The two-way table of variable types: their number in the MySensors serial API, and the short name, the
// suffix, that the host's unit addresses end in.
#pragma once

#include "runtime/values/Dictionary.hpp"

namespace hearthix::mySensors {

// Integer keys give suffixes, string keys give numbers. Nil until start-up builds it; read only afterwards.
extern Ref<Dictionary> varTypeConverter;

// Builds the table anew. Where several numbers share a suffix it leads back to the first of them, apart from
// "IR", which leads to the last.
void createVarTypeConverter();

} // namespace hearthix::mySensors
