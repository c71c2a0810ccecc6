#include "runtime/events/TCPSocket.hpp"

#include "runtime/text/Numbers.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <unistd.h>

namespace hearthix {

namespace {

void configure(int descriptor) {
    const int on = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    setsockopt(descriptor, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on);
}

bool isDecided(int descriptor) {
    pollfd watch{descriptor, POLLOUT, 0};
    return poll(&watch, 1, 0) > 0;
}

int outcomeOfConnect(int descriptor) {
    int error = 0;
    socklen_t length = sizeof error;
    if (getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &length) != 0)
        return errno;
    return error;
}

} // namespace

void TCPSocket::Connect() {
    connected_ = false;
    candidates_.clear();
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const std::string service(Str(Port & 0xFFFF).view());
    if (getaddrinfo(std::string(Address.view()).c_str(), service.c_str(), &hints, &found) == 0) {
        for (const addrinfo* each = found; each != nullptr; each = each->ai_next) {
            Candidate candidate{};
            candidate.length = each->ai_addrlen;
            std::memcpy(&candidate.address, each->ai_addr, each->ai_addrlen);
            candidates_.push_back(candidate);
        }
        freeaddrinfo(found);
        std::reverse(candidates_.begin(), candidates_.end());
    }
    if (tryNext())
        return;
    // Nothing to connect to: the error event still runs in a later poll and not in here.
    const int reason = errno != 0 ? errno : EHOSTUNREACH;
    attach(-1);
    fail(reason);
}

bool TCPSocket::tryNext() {
    errno = 0;
    while (!candidates_.empty()) {
        const Candidate next = candidates_.back();
        candidates_.pop_back();
        const int descriptor = socket(next.address.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        if (descriptor < 0)
            continue;
        configure(descriptor);
        const auto* address = reinterpret_cast<const sockaddr*>(&next.address);
        if (connect(descriptor, address, next.length) == 0 || errno == EINPROGRESS) {
            attach(descriptor);
            return true;
        }
        const int error = errno;
        ::close(descriptor);
        errno = error;
    }
    return false;
}

void TCPSocket::adopt(int descriptor) {
    configure(descriptor);
    attach(descriptor);
    connected_ = true;
}

void TCPSocket::serveOpening() {
    if (!hasFailed()) {
        if (!isDecided(descriptor()))
            return;
        const int error = outcomeOfConnect(descriptor());
        if (error == 0) {
            candidates_.clear();
            connected_ = true;
            Event_Connected();
            return;
        }
        if (tryNext())
            return;
        fail(error);
    }
    tellNews();
}

void TCPSocket::Close() {
    StreamDevice::Close();
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
    Event_Error(RuntimeException(String(std::strerror(static_cast<int>(LastErrorCode())))));
}

} // namespace hearthix
