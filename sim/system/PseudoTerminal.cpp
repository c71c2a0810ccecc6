#include "sim/system/PseudoTerminal.hpp"

#include "runtime/core/SystemError.hpp"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace hearthix {

namespace {

// Sets raw mode, so that nothing is echoed before the other program has made its settings. The device must
// have been opened and closed once: only then does the system report whether it is open.
bool prepare(const char* path) {
    const int other = open(path, O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (other < 0)
        return false;
    termios settings{};
    bool done = tcgetattr(other, &settings) == 0;
    cfmakeraw(&settings);
    done = done && tcsetattr(other, TCSANOW, &settings) == 0;
    ::close(other);
    return done;
}

// The system would keep these bytes for the next program that opens the device.
void discardUnread(const char* path) {
    const int other = open(path, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (other < 0)
        return;
    tcflush(other, TCIFLUSH);
    ::close(other);
}

} // namespace

bool PseudoTerminal::Open() {
    HangUp();
    std::array<char, 128> path{};
    master_ = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (master_ < 0 || grantpt(master_) != 0 || unlockpt(master_) != 0 ||
        ptsname_r(master_, path.data(), path.size()) != 0 || !prepare(path.data())) {
        setLastError(systemError());
        HangUp();
        return false;
    }
    path_ = path.data();
    watch_.setMode(Timer::kModeSingle);
    return true;
}

void PseudoTerminal::HangUp() {
    Close();
    watch_.setMode(Timer::kModeOff);
    path_ = String();
    if (master_ >= 0)
        ::close(std::exchange(master_, -1));
}

void PseudoTerminal::lookForOpener() {
    pollfd state{master_, 0, 0};
    const bool taken = poll(&state, 1, 0) >= 0 && (state.revents & POLLHUP) == 0;
    const int copy = taken ? fcntl(master_, F_DUPFD_CLOEXEC, 0) : -1;
    if (copy < 0) {
        watch_.setMode(Timer::kModeSingle);
        return;
    }
    attach(copy);
    opened();
}

ssize_t PseudoTerminal::receive(char* bytes, std::size_t count) {
    return read(descriptor(), bytes, count);
}

ssize_t PseudoTerminal::transmit(const char* bytes, std::size_t count) {
    return write(descriptor(), bytes, count);
}

void PseudoTerminal::failed() {
    discardUnread(std::string(path_.view()).c_str());
    watch_.setMode(Timer::kModeSingle);
    closed();
}

} // namespace hearthix
