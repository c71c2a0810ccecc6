// The two-way table of variable types: the number in the MySensors serial API, and the suffix, the short name
// at the end of the host's unit addresses.
#pragma once

#include "runtime/values/Dictionary.hpp"

namespace hearthix::mySensors {

constexpr Integer kLastVariableType = 45;

// Integer keys have suffixes as values, string keys have numbers. Nil until start-up; read-only afterwards.
extern Ref<Dictionary> varTypeConverter;

// Creates the table. A suffix of several numbers leads to the lowest of them, but "IR" leads to the highest.
void createVarTypeConverter();

} // namespace hearthix::mySensors
