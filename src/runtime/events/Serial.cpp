#include "runtime/events/Serial.hpp"

#include "runtime/core/SystemError.hpp"
#include "runtime/events/Connector.hpp"
#include "runtime/values/Clock.hpp"

#include <string>
#include <utility>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <termios.h>
#include <unistd.h>

namespace hearthix {

namespace {

constexpr clocks::Nanoseconds kPatience = 10 * clocks::kSecond;

std::error_code configure(int descriptor, bool raiseDtr) {
    termios settings{};
    if (tcgetattr(descriptor, &settings) != 0)
        return systemError();
    cfmakeraw(&settings);
    settings.c_cflag &= ~static_cast<tcflag_t>(CSTOPB | CRTSCTS | PARENB);
    settings.c_cflag |= CLOCAL | CREAD;
    settings.c_iflag &= ~static_cast<tcflag_t>(IXOFF | IXANY);
    settings.c_cc[VMIN] = 1;
    settings.c_cc[VTIME] = 0;
    cfsetispeed(&settings, B115200);
    cfsetospeed(&settings, B115200);
    if (tcsetattr(descriptor, TCSANOW, &settings) != 0)
        return systemError();
    // Fails on a pseudo-terminal, which has no modem lines.
    const int line = TIOCM_DTR;
    if (raiseDtr)
        ioctl(descriptor, TIOCMBIS, &line);
    return {};
}

// Linux reserves these device numbers for pseudo-terminals.
bool isPseudoTerminal(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 && major(status.st_rdev) >= 136 && major(status.st_rdev) <= 143;
}

// Reserves the device by a file lock and by exclusive mode, because root ignores the mode and most programs
// ignore the lock. A pseudo-terminal would keep the mode and refuse the next driver, so it is only locked.
std::error_code claim(int descriptor) {
    if (isatty(descriptor) == 0)
        return std::make_error_code(std::errc::inappropriate_io_control_operation);
    if (flock(descriptor, LOCK_EX | LOCK_NB) != 0)
        return std::make_error_code(std::errc::device_or_resource_busy);
    if (!isPseudoTerminal(descriptor) && ioctl(descriptor, TIOCEXCL) != 0)
        return systemError();
    return {};
}

// Opens a terminal device for this process alone. Returns a non-blocking descriptor, or -1 and the error.
int openTerminal(const std::string& path, bool raiseDtr, std::error_code& error) {
    const int descriptor = open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) {
        error = systemError();
        return -1;
    }
    error = claim(descriptor);
    if (!error)
        error = configure(descriptor, raiseDtr);
    if (!error)
        return descriptor;
    close(descriptor);
    return -1;
}

// Makes the connection fail within half a minute after the peer has vanished.
void detectLostPeer(int descriptor) {
    for (const auto& [option, value] : {std::pair(TCP_KEEPIDLE, 10), // seconds
                                        std::pair(TCP_KEEPINTVL, 5), std::pair(TCP_KEEPCNT, 3),
                                        std::pair(TCP_USER_TIMEOUT, 25'000)}) // milliseconds
        setsockopt(descriptor, IPPROTO_TCP, option, &value, sizeof value);
}

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
