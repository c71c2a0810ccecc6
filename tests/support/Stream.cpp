#include "tests/support/Stream.hpp"

#include "tests/support/Packets.hpp"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace hearthix::test {

namespace {

constexpr std::size_t kShown = 500;

int check(int result, const char* what) {
    if (result < 0)
        throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
    return result;
}

bool waitFor(int descriptor, short events, std::chrono::milliseconds limit) {
    pollfd watch{descriptor, events, 0};
    return check(poll(&watch, 1, static_cast<int>(limit.count())), "poll") > 0;
}

sockaddr_in addressOf(int descriptor) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    check(getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size), "getsockname");
    return address;
}

} // namespace

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    std::swap(value_, other.value_);
    return *this;
}

void Descriptor::close() {
    if (value_ >= 0)
        ::close(std::exchange(value_, -1));
}

Stream::Stream(Descriptor descriptor) : descriptor_(std::move(descriptor)) {
    check(fcntl(descriptor_.get(), F_SETFL, O_NONBLOCK), "fcntl");
    const int on = 1; // so that each write is sent at once
    setsockopt(descriptor_.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

void Stream::say(std::string_view bytes) {
    while (!bytes.empty()) {
        if (!waitFor(descriptor(), POLLOUT, kPatience))
            throw std::runtime_error("the driver does not read");
        ssize_t count = send(descriptor(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count < 0 && errno == ENOTSOCK) // a terminal
            count = ::write(descriptor(), bytes.data(), bytes.size());
        if (count < 0 && errno != EAGAIN)
            check(-1, "write");
        bytes.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
}

// False at the end of the stream, also when a terminal hangs up or a connection is reset.
bool Stream::receive() {
    if (!waitFor(descriptor(), POLLIN, kPatience))
        throw std::runtime_error("the driver is silent; unread: " + readable(pending().substr(0, kShown)));
    char bytes[65536];
    const ssize_t count = ::read(descriptor(), bytes, sizeof bytes);
    if (count < 0 && errno == EAGAIN)
        return true;
    if (count <= 0)
        return false;
    pending_.erase(0, std::exchange(start_, 0));
    pending_.append(bytes, static_cast<std::size_t>(count));
    return true;
}

void Stream::await() {
    if (!receive())
        throw std::runtime_error("the driver has closed; unread: " + readable(pending().substr(0, kShown)));
}

std::string Stream::hear(std::size_t count) {
    while (pending().size() < count)
        await();
    start_ += count;
    return pending_.substr(start_ - count, count);
}

std::string Stream::hearUntil(std::string_view mark) {
    std::size_t place = 0;
    while ((place = pending().find(mark)) == std::string_view::npos)
        await();
    return hear(place + mark.size()).substr(0, place);
}

std::string Stream::hearToEnd() {
    while (receive()) {
    }
    return hear(pending().size());
}

bool Stream::hasNews(std::chrono::milliseconds limit) {
    return !pending().empty() || waitFor(descriptor(), POLLIN, limit);
}

void Stream::reset() {
    const linger atOnce{1, 0};
    setsockopt(descriptor(), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    close();
}

void Stream::halfClose() {
    check(shutdown(descriptor(), SHUT_WR), "shutdown");
}

Listener::Listener(int receiveBuffer, int backlog)
    : descriptor_(check(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket")) {
    if (receiveBuffer > 0)
        setsockopt(descriptor_.get(), SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    check(bind(descriptor_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), "bind");
    check(listen(descriptor_.get(), backlog), "listen");
}

std::string Listener::port() const {
    return std::to_string(ntohs(addressOf(descriptor_.get()).sin_port));
}

Stream Listener::accept() {
    if (!waitFor(descriptor_.get(), POLLIN, kPatience))
        throw std::runtime_error("the driver does not connect");
    return Stream(Descriptor(check(accept4(descriptor_.get(), nullptr, nullptr, SOCK_CLOEXEC), "accept")));
}

Descriptor Listener::connect() const {
    Descriptor end(check(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket"));
    const sockaddr_in address = addressOf(descriptor_.get());
    check(::connect(end.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), "connect");
    return end;
}

} // namespace hearthix::test
