#include "sim/system/ListeningSocket.hpp"

#include "runtime/events/EventLoop.hpp"

#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace hearthix {

namespace {

constexpr std::int64_t kPauseMilliseconds = 100;

} // namespace

bool ListeningSocket::Listen(const String& address, Integer port) {
    Close();
    sockaddr_in where{};
    where.sin_family = AF_INET;
    where.sin_port = htons(static_cast<std::uint16_t>(port));
    if (port < 0 || port > 0xFFFF ||
        inet_pton(AF_INET, std::string(address.view()).c_str(), &where.sin_addr) != 1) {
        lastError_ = "no IPv4 address and port";
        return false;
    }
    const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (descriptor < 0) {
        lastError_ = std::strerror(errno);
        return false;
    }
    const int on = 1;
    setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    socklen_t length = sizeof where;
    auto* generic = reinterpret_cast<sockaddr*>(&where);
    if (bind(descriptor, generic, length) != 0 || listen(descriptor, SOMAXCONN) != 0 ||
        getsockname(descriptor, generic, &length) != 0) {
        lastError_ = std::strerror(errno);
        ::close(descriptor);
        return false;
    }
    descriptor_ = descriptor;
    port_ = ntohs(where.sin_port);
    EventLoop::instance().add(*this);
    return true;
}

void ListeningSocket::Close() {
    if (descriptor_ < 0)
        return;
    EventLoop::instance().remove(*this);
    pause_.setMode(Timer::kModeOff);
    ::close(std::exchange(descriptor_, -1));
    port_ = 0;
}

void ListeningSocket::pauseWhenShort(int error) {
    // The connection stays in the queue, so the loop would find the socket ready again at once.
    if (error != EMFILE && error != ENFILE && error != ENOBUFS && error != ENOMEM)
        return;
    pause_.setPeriod(kPauseMilliseconds);
    pause_.setMode(Timer::kModeSingle);
}

void ListeningSocket::serve(bool readable, bool) {
    while (readable && descriptor_ >= 0) {
        const int connection = accept4(descriptor_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (connection < 0)
            return pauseWhenShort(errno);
        accepted(connection);
    }
}

} // namespace hearthix
