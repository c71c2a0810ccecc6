#include "runtime/events/Serial.hpp"

#include "runtime/events/Connector.hpp"
#include "runtime/events/SerialLines.hpp"
#include "runtime/values/Clock.hpp"

#include <string>

#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace hearthix {

namespace {

constexpr clocks::Nanoseconds kPatience = 10 * clocks::kSecond;

} // namespace

bool Serial::Open() {
    Close();
    std::error_code error = std::make_error_code(std::errc::invalid_argument);
    int descriptor = -1;
    isNetwork_ = SerialPort && SerialPort->isNetwork();
    if (isNetwork_)
        descriptor = openNetworkLine(error);
    else if (SerialPort && Bits == kBits8 && Parity == kParityNone && Baud == kBaud115200)
        descriptor = openTerminal(std::string(SerialPort->path().view()), DataTerminalReady, error);
    if (descriptor < 0) {
        setLastError(error);
        return false;
    }
    attach(descriptor);
    return true;
}

int Serial::openNetworkLine(std::error_code& error) {
    const clocks::Nanoseconds limit = clocks::monotonic() + kPatience;
    Connector connector;
    connector.start(SerialPort->host(), SerialPort->port(), 0);
    int descriptor = connector.advance();
    while (descriptor < 0 && connector.isPending() && clocks::monotonic() < limit) {
        whileOpening();
        descriptor = connector.advance();
    }
    error = connector.isPending() ? std::make_error_code(std::errc::timed_out) : connector.error();
    if (descriptor >= 0)
        detectLostPeer(descriptor);
    return descriptor;
}

void Serial::whileOpening() {
    clocks::sleep(clocks::kMillisecond);
}

ssize_t Serial::receive(char* bytes, std::size_t count) {
    return read(descriptor(), bytes, count);
}

ssize_t Serial::transmit(const char* bytes, std::size_t count) {
    return isNetwork_ ? send(descriptor(), bytes, count, MSG_NOSIGNAL) : write(descriptor(), bytes, count);
}

void Serial::XmitWait() {
    std::size_t lowest = SIZE_MAX;
    clocks::Nanoseconds progressAt = clocks::monotonic();
    while (isOpen() && !hasFailed()) {
        Flush();
        const std::size_t unsent = unsentBytes() + queuedBytes();
        if (unsent == 0)
            return;
        const bool hasProgressed = unsent < lowest;
        const clocks::Nanoseconds now = clocks::monotonic();
        if (hasProgressed) {
            lowest = unsent;
            progressAt = now;
        } else if (now - progressAt > kPatience) {
            fail(std::make_error_code(std::errc::timed_out));
            return;
        }
        waitForProgress(hasProgressed);
    }
}

// Bytes that the system has accepted and the line has not sent. tcdrain could block for ever.
std::size_t Serial::queuedBytes() const {
    int count = 0;
    return !isNetwork_ && ioctl(descriptor(), TIOCOUTQ, &count) == 0 && count > 0
               ? static_cast<std::size_t>(count)
               : 0;
}

void Serial::waitForProgress(bool hasProgressed) {
    constexpr clocks::Nanoseconds kByteTime = 87'000; // ten bits at 115200 baud
    constexpr int kLookAgainMilliseconds = 100;
    pollfd watch{descriptor(), POLLOUT, 0};
    if (unsentBytes() == 0)
        clocks::sleep(kByteTime * static_cast<clocks::Nanoseconds>(queuedBytes()));
    else if (poll(&watch, 1, kLookAgainMilliseconds) != 0 && !hasProgressed)
        clocks::sleep(clocks::kMillisecond); // the device reports space but accepts nothing
}

} // namespace hearthix
