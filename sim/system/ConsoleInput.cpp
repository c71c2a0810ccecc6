#include "sim/system/ConsoleInput.hpp"

#include "runtime/events/EventLoop.hpp"

#include <array>
#include <cerrno>

#include <sys/ioctl.h>
#include <unistd.h>

namespace hearthix {

bool ConsoleInput::isTerminal() {
    return isatty(STDIN_FILENO) == 1;
}

void ConsoleInput::Open() {
    open_ = true;
    EventLoop::instance().add(*this);
}

void ConsoleInput::Close() {
    open_ = false;
    EventLoop::instance().remove(*this);
}

void ConsoleInput::serve(bool readable, bool) {
    std::array<char, 4096> bytes;
    if (!readable)
        return;
    if (ready) {
        // A readable input that contains no byte is at its end.
        int waiting = 0;
        const bool hasMore = ioctl(STDIN_FILENO, FIONREAD, &waiting) == 0 && waiting > 0;
        hasMore ? ready() : finish();
        return;
    }
    const ssize_t got = read(STDIN_FILENO, bytes.data(), bytes.size());
    if (got > 0) {
        received(std::string_view(bytes.data(), static_cast<std::size_t>(got)));
        return;
    }
    if (got < 0 && (errno == EINTR || errno == EAGAIN))
        return;
    finish();
}

void ConsoleInput::finish() {
    Close();
    if (ended)
        ended();
}

} // namespace hearthix
