// The settings of serial lines.
#pragma once

#include <string>
#include <system_error>

namespace hearthix {

// Opens a terminal device for this process alone: 115200 baud, 8 data bits, no parity, raw. Returns a
// non-blocking descriptor that the caller owns, or -1 and the error; ENOTTY if the device is not a terminal.
int openTerminal(const std::string& path, bool raiseDtr, std::error_code& error);
// Makes a TCP connection fail within half a minute after the peer has vanished.
void detectLostPeer(int descriptor);

} // namespace hearthix
