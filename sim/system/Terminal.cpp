#include "sim/system/Terminal.hpp"

#include "runtime/process/Console.hpp"

#include <clocale>

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <wchar.h>

namespace hearthix::terminal {

bool isInput() {
    return isatty(STDIN_FILENO) != 0;
}

bool isOutput() {
    return isatty(STDOUT_FILENO) != 0;
}

bool isOutputGone() {
    pollfd state{STDOUT_FILENO, 0, 0};
    return poll(&state, 1, 0) > 0 && (state.revents & POLLERR) != 0;
}

Size size() {
    winsize window{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) != 0 || window.ws_col == 0 || window.ws_row == 0)
        return {};
    return {window.ws_col, window.ws_row};
}

void write(std::string_view frame) {
    writeAll(STDOUT_FILENO, frame);
}

int columnsOf(char32_t character) {
    static const bool kHasTables = std::setlocale(LC_CTYPE, "C.UTF-8") != nullptr;
    return kHasTables ? wcwidth(static_cast<wchar_t>(character)) : 1;
}

KeyMode::KeyMode() {
    if (!isInput() || tcgetattr(STDIN_FILENO, &before_) != 0)
        return;
    termios keys = before_;
    keys.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    keys.c_cc[VMIN] = 1;
    keys.c_cc[VTIME] = 0;
    keys.c_cc[VSUSP] = _POSIX_VDISABLE;
    changed_ = tcsetattr(STDIN_FILENO, TCSADRAIN, &keys) == 0;
}

KeyMode::~KeyMode() {
    if (changed_)
        tcsetattr(STDIN_FILENO, TCSADRAIN, &before_);
}

} // namespace hearthix::terminal
