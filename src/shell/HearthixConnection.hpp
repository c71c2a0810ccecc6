// Opening of the connection to the host, and the wait for it.
#pragma once

#include "runtime/text/String.hpp"

namespace hearthix {

namespace CommandSupportModule {
// A carriage return, from the moment the connection is opened. Kept for callers; nothing here uses it.
extern String cr;
} // namespace CommandSupportModule

namespace HearthixSupport {

// Makes the host socket and starts to connect. An empty address means 127.0.0.1, port 0 means 20300.
void OpenHearthixConnection(const String& address, Integer port, const String& connectionID);
// Runs events until the socket is connected or so many seconds have passed. Commands from the host can be
// handled meanwhile. The result tells whether the TCP connection is up, and no more.
bool WaitForHearthixConnection(Integer seconds);

} // namespace HearthixSupport
} // namespace hearthix
