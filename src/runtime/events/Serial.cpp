#include "runtime/events/Serial.hpp"

#include "runtime/events/SerialLines.hpp"
#include "runtime/values/Clock.hpp"

#include <string>

#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace hearthix {

bool Serial::Open() {
    Close();
    std::error_code error = std::make_error_code(std::errc::invalid_argument);
    int descriptor = -1;
    isNetwork_ = SerialPort && SerialPort->isNetwork();
    if (isNetwork_)
        descriptor = openNetworkLine(SerialPort->host(), SerialPort->port(), error);
    else if (SerialPort && Bits == kBits8 && Parity == kParityNone && Baud == kBaud115200)
        descriptor = openTerminal(std::string(SerialPort->path().view()), DataTerminalReady, error);
    if (descriptor < 0) {
        setLastError(error);
        return false;
    }
    attach(descriptor);
    return true;
}

ssize_t Serial::receive(char* bytes, std::size_t count) {
    return read(descriptor(), bytes, count);
}

ssize_t Serial::transmit(const char* bytes, std::size_t count) {
    return isNetwork_ ? send(descriptor(), bytes, count, MSG_NOSIGNAL) : write(descriptor(), bytes, count);
}

void Serial::XmitWait() {
    constexpr clocks::Nanoseconds kPatience = 10 * clocks::kSecond;
    std::size_t lowest = SIZE_MAX;
    clocks::Nanoseconds progressAt = clocks::monotonic();
    while (isOpen() && !hasFailed()) {
        Flush();
        const std::size_t waiting = unsentBytes() + queuedBytes();
        if (waiting == 0)
            return;
        const bool hasTakenSome = waiting < lowest;
        const clocks::Nanoseconds now = clocks::monotonic();
        if (hasTakenSome) {
            lowest = waiting;
            progressAt = now;
        } else if (now - progressAt > kPatience) {
            fail(std::make_error_code(std::errc::timed_out));
            return;
        }
        waitForProgress(hasTakenSome);
    }
}

// What the system has taken and the line hasn't. tcdrain would wait for a stuck device for ever.
std::size_t Serial::queuedBytes() const {
    int count = 0;
    return !isNetwork_ && ioctl(descriptor(), TIOCOUTQ, &count) == 0 && count > 0
               ? static_cast<std::size_t>(count)
               : 0;
}

void Serial::waitForProgress(bool hasTakenSome) {
    constexpr clocks::Nanoseconds kByteTime = 87'000; // ten bits at 115200 baud
    constexpr int kLookAgainMilliseconds = 100;
    pollfd watch{descriptor(), POLLOUT, 0};
    if (unsentBytes() == 0)
        clocks::sleep(kByteTime * static_cast<clocks::Nanoseconds>(queuedBytes()));
    else if (poll(&watch, 1, kLookAgainMilliseconds) != 0 && !hasTakenSome)
        clocks::sleep(clocks::kMillisecond); // it says that there is room, and takes nothing
}

} // namespace hearthix
