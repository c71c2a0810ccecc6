#include "runtime/events/TCPSocket.hpp"

#include <algorithm>

#include <poll.h>

namespace hearthix {

namespace {

bool isDecided(int descriptor) {
    pollfd watch{descriptor, POLLOUT, 0};
    return poll(&watch, 1, 0) > 0;
}

} // namespace

void TCPSocket::Connect() {
    constexpr Integer kHighestPort = 65535;
    connected_ = false;
    candidates_.clear();
    lookup_.cancel();
    // Without a connection of its own yet. A failure, too, is told in a later poll and not in here.
    attach(-1);
    if (Port < 0 || Port > kHighestPort) {
        fail(std::make_error_code(std::errc::invalid_argument));
        return;
    }
    lookup_.start(Address, Port);
    if (!isLookingUp())
        takeAddresses();
}

void TCPSocket::takeAddresses() {
    candidates_ = lookup_.takeAddresses();
    std::reverse(candidates_.begin(), candidates_.end());
    tryNext(lookup_.error());
}

void TCPSocket::tryNext(std::error_code error) {
    while (!candidates_.empty()) {
        const NetworkAddress next = candidates_.back();
        candidates_.pop_back();
        const int descriptor = beginConnect(next, error);
        if (descriptor >= 0) {
            attach(descriptor);
            return;
        }
    }
    fail(error ? error : std::make_error_code(std::errc::host_unreachable));
}

void TCPSocket::adopt(int descriptor) {
    setStreamOptions(descriptor);
    attach(descriptor);
    connected_ = true;
}

int TCPSocket::descriptor() const noexcept {
    return isLookingUp() ? lookup_.descriptor() : StreamDevice::descriptor();
}

void TCPSocket::serveOpening() {
    if (isLookingUp()) {
        if (lookup_.isPending())
            return;
        takeAddresses();
    } else if (!hasFailed()) {
        if (!isDecided(descriptor()))
            return;
        const std::error_code error = connectOutcome(descriptor());
        if (!error) {
            candidates_.clear();
            connected_ = true;
            Event_Connected();
            return;
        }
        tryNext(error);
    }
    tellNews();
}

void TCPSocket::Close() {
    StreamDevice::Close();
    lookup_.cancel();
    candidates_.clear();
    connected_ = false;
}

ssize_t TCPSocket::receive(char* bytes, std::size_t count) {
    return recv(descriptor(), bytes, count, 0);
}

ssize_t TCPSocket::transmit(const char* bytes, std::size_t count) {
    return send(descriptor(), bytes, count, MSG_NOSIGNAL);
}

void TCPSocket::failed() {
    connected_ = false;
    Event_Error(RuntimeException(lastError().message().c_str()));
}

} // namespace hearthix
