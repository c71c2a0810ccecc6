// Draws with ncurses on the terminal from which the program was started.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <curses.h>

namespace hearthix::terminal {

// Whether standard input and output are a terminal that can do more than print lines.
bool canDraw();
// Whether standard output is a pipe that nobody reads any more.
bool isOutputGone();
// Makes the C library recognise UTF-8 characters and their widths. Returns false if it cannot.
bool useUtf8();

// Colours of a text, in addition to the attributes of ncurses. They have no effect if the terminal has no
// colours or NO_COLOR is set.
enum class Colour : short { red = COLOR_RED, green = COLOR_GREEN, yellow = COLOR_YELLOW, cyan = COLOR_CYAN };

struct Key {
    wint_t code = 0;      // a character, or one of ncurses' KEY_ codes
    bool isNamed = false; // whether code is a KEY_ code
    bool is(int name) const noexcept { return isNamed && code == static_cast<wint_t>(name); }
    bool is(char character) const noexcept { return !isNamed && code == static_cast<wint_t>(character); }
};

// While this object exists, ncurses controls the terminal: each key reaches the program at once and is not
// echoed. The destructor prints the last screen except its bottom row, the command line. Only one object may
// exist at a time, and canDraw must have returned true.
class Screen {
public:
    Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;
    ~Screen();

    // Adopts the current size of the terminal.
    void resize();
    // Returns nothing if no key was pressed.
    std::optional<Key> key();
    attr_t look(Colour colour) const;
    // Prints a text in a cell of one row. Text that does not fit into the cell or the screen is cut off.
    void put(int row, int column, int width, std::string_view text, attr_t look = A_NORMAL) const;

private:
    std::string shown() const;

    SCREEN* screen_;
    bool hasColours_ = false;
};

} // namespace hearthix::terminal
