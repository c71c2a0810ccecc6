#include "runtime/events/SerialLines.hpp"

#include "runtime/core/SystemError.hpp"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
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

void detectLostPeer(int descriptor) {
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

} // namespace hearthix
