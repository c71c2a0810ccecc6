// The state of the process, and the two formatters of bytes.
//
// The namespace's other members are declared next to their types: gAbstractedPort in ports/iAbstractPort.hpp,
// gMySensors in gateway/cMySensors.hpp; writelog is in log/Log.hpp.
#pragma once

#include "runtime/text/String.hpp"
#include "runtime/values/Exceptions.hpp"

#include <array>
#include <cstdint>

namespace hearthix::Globals {

// Adds the detail lines to the log; switched by the host.
extern bool DebugMode;
// Ends the main loop. Set for good: nothing clears it.
extern bool DoQuit;

// Prints the stack of an exception to standard output.
void LogStack(const RuntimeException& error);
// Every byte as a blank and two hexadecimal digits.
String Hexify(const String& bytes);
// Two hexadecimal digits in capitals, bare and as a string.
std::array<char, 2> hexDigits(std::uint8_t value);
String formatHex(std::uint8_t value);
// The same of the low eight bits of a number.
String formatHexOfLowByte(Integer value);

} // namespace hearthix::Globals
