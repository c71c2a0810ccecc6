#include "runtime/events/Connector.hpp"

#include "runtime/core/SystemError.hpp"
#include "runtime/values/Clock.hpp"

#include <utility>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <unistd.h>

namespace hearthix {

namespace {

// Starts to connect. Returns a non-blocking descriptor that the caller owns, or -1 and the error.
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

} // namespace

void setStreamOptions(int descriptor) {
    const int on = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    setsockopt(descriptor, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on);
}

void Connector::start(const String& host, Integer port, int receiveBuffer) {
    cancel();
    receiveBuffer_ = receiveBuffer;
    error_ = std::make_error_code(std::errc::host_unreachable);
    lookup_.start(host, port);
    if (!isLookingUp())
        beginNext();
}

void Connector::cancel() {
    lookup_.cancel();
    addresses_.clear();
    for (const int attempt : std::exchange(attempts_, {}))
        close(attempt);
}

int Connector::descriptor() const noexcept {
    return isLookingUp() ? lookup_.descriptor() : attempts_.empty() ? -1 : attempts_.back();
}

// Only the latest attempt is watched, so the older ones are checked regularly.
std::int64_t Connector::dueAt() const noexcept {
    return attempts_.size() > 1 || !addresses_.empty() ? nextAt_ : INT64_MAX;
}

int Connector::advance() {
    if (isLookingUp()) {
        if (!lookup_.isPending())
            beginNext();
        return -1;
    }
    const int connection = takeWinner();
    if (connection >= 0)
        cancel();
    else if (attempts_.empty() || clocks::monotonic() >= nextAt_)
        beginNext();
    return connection;
}

// Removes the attempts that have come to an end, up to the first that has succeeded.
int Connector::takeWinner() {
    for (std::size_t i = 0; i < attempts_.size();) {
        pollfd watch{attempts_[i], POLLOUT, 0};
        if (poll(&watch, 1, 0) <= 0) {
            ++i;
            continue;
        }
        attempts_.erase(attempts_.begin() + static_cast<std::ptrdiff_t>(i));
        int outcome = 0;
        socklen_t size = sizeof outcome;
        if (getsockopt(watch.fd, SOL_SOCKET, SO_ERROR, &outcome, &size) == 0 && outcome == 0)
            return watch.fd;
        error_ = {outcome, std::system_category()};
        nextAt_ = 0;
        close(watch.fd);
    }
    return -1;
}

void Connector::beginNext() {
    if (std::vector<NetworkAddress> found = lookup_.takeAddresses(); !found.empty())
        addresses_.assign(found.rbegin(), found.rend());
    if (lookup_.error())
        error_ = lookup_.error();
    nextAt_ = clocks::monotonic() + kAttemptDelay;
    while (!addresses_.empty()) {
        const NetworkAddress next = addresses_.back();
        addresses_.pop_back();
        const int descriptor = beginConnect(next, receiveBuffer_, error_);
        if (descriptor >= 0) {
            attempts_.push_back(descriptor);
            return;
        }
    }
}

} // namespace hearthix
