// Opens the connection to the host, and serves it before the gateway is ready.
#pragma once

#include "runtime/text/String.hpp"

namespace hearthix {

namespace CommandSupportModule {
// A carriage return, set when the connection is opened. Unused.
extern String cr;
} // namespace CommandSupportModule

namespace HearthixSupport {

// Creates the host socket and starts to connect. An empty address means 127.0.0.1, port 0 means 20300.
void OpenHearthixConnection(const String& address, Integer port, const String& connectionID);
// Runs events, including commands from the host, until the TCP connection is established or the time is over.
// Returns whether the connection is established.
bool WaitForHearthixConnection(Integer seconds);

// Runs events for some milliseconds while the gateway's line is being opened. "ping" is answered. A command
// that needs the gateway has to wait, and so have all commands after it except "ping". While 64 KiB of
// commands are waiting, the host is not served.
void serveHostOnly();
// Handles the commands that had to wait, in their order.
void handleWaitingCommands();

} // namespace HearthixSupport
} // namespace hearthix
