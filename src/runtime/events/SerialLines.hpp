// The two ways to open a serial line.
#pragma once

#include "runtime/text/String.hpp"

#include <string>
#include <system_error>

namespace hearthix {

// Both give an open, non-blocking descriptor, or -1 and the error. The caller owns the descriptor.

// A terminal device, for this process alone: 115200 baud, 8 data bits, no parity, raw.
int openTerminal(const std::string& path, bool raiseDtr, std::error_code& error);
// The far end of a TCP stream. Waits for ten seconds at most, the look-up of a name included.
int openNetworkLine(const String& host, Integer port, std::error_code& error);

} // namespace hearthix
