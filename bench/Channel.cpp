#include "Channel.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace hearthix::bench {

namespace {

void awaitInput(int descriptor, const char* complaint) {
    pollfd watch{descriptor, POLLIN, 0};
    check(poll(&watch, 1, kPatienceSeconds * 1000) == 1, complaint);
}

} // namespace

void check(bool good, const char* complaint) {
    if (!good)
        throw std::runtime_error(complaint);
}

Channel& Channel::operator=(Channel&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    std::swap(isSocket_, other.isSocket_);
    return *this;
}

Channel::~Channel() {
    if (descriptor_ >= 0)
        close(descriptor_);
}

std::size_t Channel::sendSome(std::string_view bytes) const {
    const ssize_t sent = isSocket_
                             ? send(descriptor_, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL)
                             : write(descriptor_, bytes.data(), bytes.size());
    check(sent >= 0 || errno == EAGAIN, "the program hung up while it was sent something");
    return static_cast<std::size_t>(std::max<ssize_t>(sent, 0));
}

void Channel::sendInOnePiece(std::string_view bytes) const {
    check(sendSome(bytes) == bytes.size(), "a small piece of data was not taken whole");
}

std::string_view Channel::receive(bool wait) const {
    static std::string buffer(1024 * 1024, '\0');
    if (wait && !isSocket_)
        awaitInput(descriptor_, "the program fell silent");
    const ssize_t got = isSocket_ ? recv(descriptor_, buffer.data(), buffer.size(), wait ? 0 : MSG_DONTWAIT)
                                  : read(descriptor_, buffer.data(), buffer.size());
    check(got != 0 && (got > 0 || errno == EAGAIN), "the program hung up");
    check(got > 0 || !wait, "the program fell silent");
    return std::string_view(buffer).substr(0, static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
}

std::string_view Channel::receiveSome() const {
    return receive(false);
}

void Channel::receiveExactly(std::string_view expected) const {
    Comparison comparison(expected);
    while (comparison.missing() > 0)
        comparison.take(receive(true));
}

Channel listenOnLoopback(std::uint16_t& port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    Channel listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), true);
    check(bind(listener.descriptor(), generic, length) == 0 && listen(listener.descriptor(), 1) == 0 &&
              getsockname(listener.descriptor(), generic, &length) == 0,
          "cannot listen on the loopback interface");
    port = ntohs(address.sin_port);
    return listener;
}

Channel acceptFrom(const Channel& listener) {
    awaitInput(listener.descriptor(), "the program does not connect");
    const int connection = accept4(listener.descriptor(), nullptr, nullptr, SOCK_CLOEXEC);
    const int on = 1;
    setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    const timeval limit{kPatienceSeconds, 0};
    setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    return {connection, true};
}

Channel openPseudoTerminal(std::string& path) {
    Channel master(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK), false);
    check(grantpt(master.descriptor()) == 0 && unlockpt(master.descriptor()) == 0,
          "cannot make a pseudo-terminal");
    path = ptsname(master.descriptor());
    return master;
}

void Comparison::take(std::string_view bytes) {
    check(bytes == rest_.substr(0, bytes.size()), "the program says something else than it must");
    rest_.remove_prefix(bytes.size());
}

} // namespace hearthix::bench
