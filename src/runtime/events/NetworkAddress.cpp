#include "runtime/events/NetworkAddress.hpp"

#include "runtime/core/SystemError.hpp"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <unistd.h>

namespace hearthix {

int beginConnect(const NetworkAddress& to, int receiveBuffer, std::error_code& error) {
    const int descriptor = socket(to.address.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (descriptor < 0) {
        error = systemError();
        return -1;
    }
    setStreamOptions(descriptor);
    if (receiveBuffer > 0)
        setsockopt(descriptor, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
    if (connect(descriptor, reinterpret_cast<const sockaddr*>(&to.address), to.length) == 0 ||
        errno == EINPROGRESS)
        return descriptor;
    error = systemError();
    close(descriptor);
    return -1;
}

std::error_code connectOutcome(int descriptor) {
    int error = 0;
    socklen_t length = sizeof error;
    if (getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &length) != 0)
        return systemError();
    return {error, std::system_category()};
}

void setStreamOptions(int descriptor) {
    const int on = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    setsockopt(descriptor, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on);
}

} // namespace hearthix
