#include "sim/system/Terminal.hpp"

#include "runtime/process/Console.hpp"

#include <algorithm>
#include <clocale>
#include <cstdlib>

#include <poll.h>
#include <sys/ioctl.h>
#include <term.h>
#include <unistd.h>

namespace hearthix::terminal {

namespace {

constexpr int kEscapeMilliseconds = 25;
// Space for a character and its combining marks.
constexpr std::size_t kMostBytesColumn = 32;

bool wantsColours() {
    const char* refusal = std::getenv("NO_COLOR");
    return refusal == nullptr || *refusal == '\0';
}

} // namespace

bool canDraw() {
    int error = 0;
    if (isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0 || !useUtf8() ||
        setupterm(nullptr, STDOUT_FILENO, &error) != OK)
        return false;
    const bool movesCursor = cursor_address != nullptr;
    del_curterm(cur_term);
    return movesCursor;
}

bool isOutputGone() {
    pollfd state{STDOUT_FILENO, 0, 0};
    return poll(&state, 1, 0) > 0 && (state.revents & POLLERR) != 0;
}

bool useUtf8() {
    static const bool kHasTables = std::setlocale(LC_CTYPE, "C.UTF-8") != nullptr;
    return kHasTables;
}

Screen::Screen() : screen_(newterm(nullptr, stdout, stdin)) {
    cbreak();
    noecho();
    keypad(stdscr, true);
    nodelay(stdscr, true);
    set_escdelay(kEscapeMilliseconds);
    typeahead(-1);
    hasColours_ = wantsColours() && start_color() == OK && has_colors() && use_default_colors() == OK;
    constexpr short kUsual = -1;
    for (short colour = COLOR_RED; hasColours_ && colour <= COLOR_CYAN; ++colour)
        init_pair(colour, colour, kUsual);
}

Screen::~Screen() {
    const std::string last = shown();
    endwin();
    delscreen(screen_);
    writeAll(STDOUT_FILENO, last);
}

void Screen::resize() {
    winsize window{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) != 0 || window.ws_col == 0 || window.ws_row == 0)
        return;
    resizeterm(window.ws_row, window.ws_col);
    clearok(stdscr, true);
}

std::optional<Key> Screen::key() {
    wint_t code = 0;
    const int kind = get_wch(&code);
    return kind == ERR ? std::nullopt : std::optional<Key>({code, kind == KEY_CODE_YES});
}

attr_t Screen::look(Colour colour) const {
    return hasColours_ ? static_cast<attr_t>(COLOR_PAIR(static_cast<int>(colour))) : A_NORMAL;
}

// A window of one row: ncurses counts the columns, and stops where the window ends.
void Screen::put(int row, int column, int width, std::string_view text, attr_t look) const {
    WINDOW* cell = width > 0 ? derwin(stdscr, 1, std::min(width, COLS - column), row, column) : nullptr;
    if (cell == nullptr)
        return;
    wbkgdset(cell, ' ' | look);
    werase(cell);
    waddnstr(cell, text.data(), static_cast<int>(text.size()));
    delwin(cell);
}

std::string Screen::shown() const {
    std::string text;
    std::string row;
    for (int y = 0; y < LINES - 1; ++y) {
        row.resize(static_cast<std::size_t>(COLS) * kMostBytesColumn);
        row.resize(static_cast<std::size_t>(
            std::max(mvinnstr(y, 0, row.data(), static_cast<int>(row.size()) - 1), 0)));
        row.resize(row.find_last_not_of(' ') + 1);
        text.append(row).append("\n");
    }
    text.resize(text.find_last_not_of('\n') + 1);
    return text.empty() ? text : text + "\n";
}

} // namespace hearthix::terminal
