// The terminal that the program was started from, for programs that draw on it.
#pragma once

#include <string_view>

#include <termios.h>

namespace hearthix::terminal {

struct Size {
    int columns = 80;
    int rows = 24;
};

bool isInput();
bool isOutput();
// Whether standard output is a pipe that nobody reads any more.
bool isOutputGone();
// 80 by 24 when the terminal doesn't tell.
Size size();
// A whole frame in one piece: without a line end, and without a pause of ours in the middle.
void write(std::string_view frame);

// How many columns a character beyond ASCII takes: 0 for one that joins the one before, 2 for a wide one, or
// -1 for what no terminal shows. The C library's tables for UTF-8 tell; 1 where it has none.
int columnsOf(char32_t character);

// While it lives, each key reaches the program at once and none is echoed; Ctrl-C still is the signal that it
// always is, Ctrl-Z is a key. Does nothing when standard input is no terminal.
class KeyMode {
public:
    KeyMode();
    KeyMode(const KeyMode&) = delete;
    KeyMode& operator=(const KeyMode&) = delete;
    ~KeyMode();

private:
    bool changed_ = false;
    termios before_{};
};

} // namespace hearthix::terminal
