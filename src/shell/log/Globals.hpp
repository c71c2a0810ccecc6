// The state of the process, and two formatters of bytes.
//
// Other members of this namespace are declared with their types: gAbstractedPort in ports/iAbstractPort.hpp,
// gMySensors in gateway/cMySensors.hpp, writelog in shell/log/Log.hpp.
#pragma once

#include "runtime/text/String.hpp"
#include "runtime/values/Exceptions.hpp"

#include <cstdint>

namespace hearthix::Globals {

// Enables the detail lines of the log. The host changes it.
extern bool DebugMode;
// Ends the main loop. Never set back to false.
extern bool DoQuit;

// Prints the stack of an exception to standard output.
void LogStack(const RuntimeException& error);
// Returns a blank and two hexadecimal digits per byte.
String Hexify(const String& bytes);
// Returns two hexadecimal digits in capitals.
String formatHex(std::uint8_t value);
String formatHexOfLowByte(Integer value);

} // namespace hearthix::Globals
