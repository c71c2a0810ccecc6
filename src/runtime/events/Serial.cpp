#include "runtime/events/Serial.hpp"

#include "runtime/values/Clock.hpp"

#include <cerrno>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <termios.h>
#include <unistd.h>

namespace hearthix {

namespace {

constexpr int kStuckMilliseconds = 10'000;

bool configure(int descriptor, bool raiseDtr) {
    termios settings{};
    if (tcgetattr(descriptor, &settings) != 0)
        return false;
    cfmakeraw(&settings);
    settings.c_cflag &= ~static_cast<tcflag_t>(CSTOPB | CRTSCTS | PARENB);
    settings.c_cflag |= CLOCAL | CREAD;
    settings.c_iflag &= ~static_cast<tcflag_t>(IXOFF | IXANY);
    settings.c_cc[VMIN] = 1;
    settings.c_cc[VTIME] = 0;
    cfsetispeed(&settings, B115200);
    cfsetospeed(&settings, B115200);
    if (tcsetattr(descriptor, TCSANOW, &settings) != 0)
        return false;
    // A pseudo-terminal has no modem lines; that is no fault.
    const int line = TIOCM_DTR;
    if (raiseDtr)
        ioctl(descriptor, TIOCMBIS, &line);
    return true;
}

// By the system's fixed device numbers.
bool isPseudoTerminal(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 && major(status.st_rdev) >= 136 && major(status.st_rdev) <= 143;
}

// The terminal's own exclusive mode doesn't bind root, the file lock binds only who asks for it: both. But a
// pseudo-terminal that its other end keeps alive keeps the mode, too, and would lock out the next driver.
int claim(int descriptor) {
    if (flock(descriptor, LOCK_EX | LOCK_NB) != 0)
        return EBUSY;
    return isPseudoTerminal(descriptor) || ioctl(descriptor, TIOCEXCL) == 0 ? 0 : errno;
}

// The descriptor, or the negated error number.
int openExclusively(const std::string& path, bool raiseDtr) {
    const int descriptor = open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        return -errno;
    int error = isatty(descriptor) != 0 ? claim(descriptor) : ENOTTY;
    if (error == 0 && !configure(descriptor, raiseDtr))
        error = errno;
    if (error == 0)
        return descriptor;
    close(descriptor);
    return -error;
}

} // namespace

bool Serial::Open() {
    Close();
    if (SerialPort.isNil() || Bits != kBits8 || Parity != kParityNone || Baud != kBaud115200) {
        setLastError(EINVAL);
        return false;
    }
    const int descriptor = openExclusively(std::string(SerialPort->path().view()), DataTerminalReady);
    if (descriptor < 0) {
        setLastError(-descriptor);
        return false;
    }
    attach(descriptor);
    return true;
}

ssize_t Serial::receive(char* bytes, std::size_t count) {
    return read(descriptor(), bytes, count);
}

ssize_t Serial::transmit(const char* bytes, std::size_t count) {
    return write(descriptor(), bytes, count);
}

void Serial::XmitWait() {
    Flush();
    while (isOpen() && !hasFailed() && unsentBytes() > 0) {
        if (!waitForRoom()) {
            fail(ETIMEDOUT);
            return;
        }
        Flush();
    }
    if (isOpen() && !hasFailed())
        waitUntilSent();
}

bool Serial::waitForRoom() {
    pollfd watch{descriptor(), POLLOUT, 0};
    const clocks::Nanoseconds limit = clocks::monotonic() + kStuckMilliseconds * clocks::kMillisecond;
    while (true) {
        const clocks::Nanoseconds left = limit - clocks::monotonic();
        if (left <= 0)
            return false;
        const int ready = poll(&watch, 1, static_cast<int>(left / clocks::kMillisecond) + 1);
        if (ready > 0)
            return true;
        if (ready < 0 && errno != EINTR)
            return false;
    }
}

// tcdrain would wait for a stuck device without end, so the system's own queue is watched instead.
void Serial::waitUntilSent() {
    constexpr clocks::Nanoseconds kByteTime = 87'000; // ten bits at 115200 baud
    int waiting = 0;
    int lowest = INT32_MAX;
    clocks::Nanoseconds progressAt = clocks::monotonic();
    while (ioctl(descriptor(), TIOCOUTQ, &waiting) == 0 && waiting > 0) {
        const clocks::Nanoseconds now = clocks::monotonic();
        if (waiting < lowest) {
            lowest = waiting;
            progressAt = now;
        } else if (now - progressAt > kStuckMilliseconds * clocks::kMillisecond) {
            fail(ETIMEDOUT);
            return;
        }
        clocks::sleep(kByteTime * waiting);
    }
}

} // namespace hearthix
