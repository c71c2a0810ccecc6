#include "runtime/events/SerialLines.hpp"

#include "runtime/core/SystemError.hpp"
#include "runtime/events/NameLookup.hpp"
#include "runtime/values/Clock.hpp"

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
    // A pseudo-terminal has no modem lines; that is no error.
    const int line = TIOCM_DTR;
    if (raiseDtr)
        ioctl(descriptor, TIOCMBIS, &line);
    return {};
}

// By the system's fixed device numbers.
bool isPseudoTerminal(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 && major(status.st_rdev) >= 136 && major(status.st_rdev) <= 143;
}

// Both: the terminal's own exclusive mode doesn't bind root, and the file lock binds only those who ask. But
// a pseudo-terminal that its other end keeps alive keeps the mode, too, and would lock out the next driver.
std::error_code claim(int descriptor) {
    if (isatty(descriptor) == 0)
        return std::make_error_code(std::errc::inappropriate_io_control_operation);
    if (flock(descriptor, LOCK_EX | LOCK_NB) != 0)
        return std::make_error_code(std::errc::device_or_resource_busy);
    if (!isPseudoTerminal(descriptor) && ioctl(descriptor, TIOCEXCL) != 0)
        return systemError();
    return {};
}

// Waits for a descriptor until a moment; false when that has passed.
bool isReadyBy(clocks::Nanoseconds moment, int descriptor, short events) {
    pollfd watch{descriptor, events, 0};
    while (true) {
        const clocks::Nanoseconds left = moment - clocks::monotonic();
        if (left <= 0)
            return false;
        const int ready = poll(&watch, 1, static_cast<int>(left / clocks::kMillisecond) + 1);
        if (ready > 0 || (ready < 0 && errno != EINTR))
            return true;
    }
}

// A peer that is gone is found out while this side is silent, and while it sends.
void watchOverPeer(int descriptor) {
    constexpr int kIdleSeconds = 10;
    constexpr int kBetweenSeconds = 5;
    constexpr int kProbes = 3;
    constexpr int kUnacknowledgedMilliseconds = 25'000;
    setsockopt(descriptor, IPPROTO_TCP, TCP_KEEPIDLE, &kIdleSeconds, sizeof kIdleSeconds);
    setsockopt(descriptor, IPPROTO_TCP, TCP_KEEPINTVL, &kBetweenSeconds, sizeof kBetweenSeconds);
    setsockopt(descriptor, IPPROTO_TCP, TCP_KEEPCNT, &kProbes, sizeof kProbes);
    setsockopt(descriptor, IPPROTO_TCP, TCP_USER_TIMEOUT, &kUnacknowledgedMilliseconds,
               sizeof kUnacknowledgedMilliseconds);
}

} // namespace

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

int openNetworkLine(const String& host, Integer port, std::error_code& error) {
    constexpr clocks::Nanoseconds kPatience = 10 * clocks::kSecond;
    const clocks::Nanoseconds limit = clocks::monotonic() + kPatience;
    NameLookup lookup;
    lookup.start(host, port);
    error = std::make_error_code(std::errc::timed_out);
    if (lookup.descriptor() >= 0 && (!isReadyBy(limit, lookup.descriptor(), POLLIN) || lookup.isPending()))
        return -1;
    if (lookup.error())
        error = lookup.error();
    for (const NetworkAddress& address : lookup.takeAddresses()) {
        const int descriptor = beginConnect(address, error);
        if (descriptor < 0)
            continue;
        error = isReadyBy(limit, descriptor, POLLOUT) ? connectOutcome(descriptor)
                                                      : std::make_error_code(std::errc::timed_out);
        if (!error) {
            watchOverPeer(descriptor);
            return descriptor;
        }
        close(descriptor);
    }
    return -1;
}

} // namespace hearthix
