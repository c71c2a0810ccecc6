// Addresses of the network, and the first step of a connection to one.
#pragma once

#include <system_error>

#include <sys/socket.h>

namespace hearthix {

struct NetworkAddress {
    sockaddr_storage address;
    socklen_t length;
};

// Starts to connect, without a wait. The new descriptor, non-blocking, or -1 and the error. Once it is
// writable, connectOutcome tells how it went.
int beginConnect(const NetworkAddress& to, std::error_code& error);
std::error_code connectOutcome(int descriptor);

// Small packets aren't delayed, and a silent peer is asked for a sign of life now and then.
void setStreamOptions(int descriptor);

} // namespace hearthix
