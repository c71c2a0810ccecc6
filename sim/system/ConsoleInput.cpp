#include "sim/system/ConsoleInput.hpp"

#include "runtime/events/EventLoop.hpp"

#include <array>
#include <cerrno>

#include <unistd.h>

namespace hearthix {

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
    const ssize_t got = read(STDIN_FILENO, bytes.data(), bytes.size());
    if (got > 0) {
        received(std::string_view(bytes.data(), static_cast<std::size_t>(got)));
        return;
    }
    if (got < 0 && (errno == EINTR || errno == EAGAIN))
        return;
    Close();
    if (ended)
        ended();
}

} // namespace hearthix
