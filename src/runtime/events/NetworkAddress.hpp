// Network addresses and the steps of connecting to one.
#pragma once

#include <system_error>

#include <sys/socket.h>

namespace hearthix {

struct NetworkAddress {
    sockaddr_storage address;
    socklen_t length;
};

// Starts to connect without blocking. Returns a non-blocking descriptor that the caller owns, or -1 and the
// error. A receive buffer of 0 bytes selects the system's default. Once the descriptor is writable,
// connectOutcome returns the result.
int beginConnect(const NetworkAddress& to, int receiveBuffer, std::error_code& error);
std::error_code connectOutcome(int descriptor);

// Sends small packets without delay and checks a silent peer from time to time.
void setStreamOptions(int descriptor);

} // namespace hearthix
