// The terminal that the program was started from, for programs that draw on it, by ncurses.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <curses.h>

namespace hearthix::terminal {

// Whether there is a terminal at both ends, of a kind that takes more than lines of text.
bool canDraw();
// Whether standard output is a pipe that nobody reads any more.
bool isOutputGone();
// Has the C library tell UTF-8 characters and their columns. False where it can't.
bool useUtf8();

// Colours of a text, beside the attributes of ncurses. Each is none where there are no colours, or where
// NO_COLOR asks for none.
enum class Colour : short { red = COLOR_RED, green = COLOR_GREEN, yellow = COLOR_YELLOW, cyan = COLOR_CYAN };

struct Key {
    wint_t code = 0;      // a character, or one of ncurses' KEY_ codes
    bool isNamed = false; // whether it is the latter
    bool is(int name) const noexcept { return isNamed && code == static_cast<wint_t>(name); }
    bool is(char character) const noexcept { return !isNamed && code == static_cast<wint_t>(character); }
};

// While it lives, the terminal is ncurses' own: each key reaches the program at once, and none is echoed.
// What stood on it last is printed when it goes, but for the bottom row, where one types. One at a time;
// canDraw must have said yes.
class Screen {
public:
    Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;
    ~Screen();

    // Takes on the size that the terminal has now.
    void resize();
    // Nothing when no key waits.
    std::optional<Key> key();
    attr_t look(Colour colour) const;
    // A text in a cell of one row. What doesn't fit, or stands outside of the screen, is cut off.
    void put(int row, int column, int width, std::string_view text, attr_t look = A_NORMAL) const;

private:
    std::string shown() const;

    SCREEN* screen_;
    bool hasColours_ = false;
};

} // namespace hearthix::terminal
