#include "runtime/events/TCPSocket.hpp"

namespace hearthix {

void TCPSocket::Connect() {
    constexpr Integer kHighestPort = 65535;
    connected_ = false;
    connector_.cancel();
    attach(-1);
    if (Port < 0 || Port > kHighestPort) {
        fail(std::make_error_code(std::errc::invalid_argument));
        return;
    }
    connector_.start(Address, Port, receiveBuffer);
    // A later poll reports the failure.
    if (!connector_.isPending())
        fail(connector_.error());
}

void TCPSocket::adopt(int descriptor) {
    setStreamOptions(descriptor);
    attach(descriptor);
    connected_ = true;
}

void TCPSocket::serveOpening() {
    const int connection = connector_.advance();
    if (connection >= 0) {
        attach(connection);
        connected_ = true;
        Event_Connected();
        return;
    }
    if (connector_.isPending())
        return;
    fail(connector_.error()); // keeps an earlier failure
    runEvents();
}

void TCPSocket::Close() {
    StreamDevice::Close();
    connector_.cancel();
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
