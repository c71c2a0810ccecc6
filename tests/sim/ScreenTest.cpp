// What a person sees of the demonstration on a terminal, also while its window changes.
#include <gtest/gtest.h>

#include <clocale>
#include <filesystem>
#include <fstream>
#include <map>
#include <utility>
#include <vector>

#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <wchar.h>

namespace hearthix::sim {
namespace {

// A terminal that a command runs on. It knows only what the screen needs; all else is a fault.
class Terminal {
public:
    explicit Terminal(const std::string& command) {
        child_ = forkpty(&master_, nullptr, nullptr, nullptr);
        if (child_ == 0)
            _exit(execl("/bin/sh", "sh", "-c", command.c_str(), nullptr));
    }
    ~Terminal() {
        close(master_);
        waitpid(child_, nullptr, 0);
    }
    void resize(unsigned short columns, unsigned short height) {
        const winsize size{height, columns, 0, 0};
        rows.assign(height, std::wstring(columns, L' '));
        ioctl(master_, TIOCSWINSZ, &size);
        EXPECT_TRUE(hearFrame() && hearFrame()) << "those that were under way for the size before";
        faults.clear();
    }
    void type(const std::string& text) { EXPECT_GT(write(master_, text.data(), text.size()), 0); }
    // One byte, so that nothing of the next frame is there when one ends. False at the end.
    bool hear() {
        char byte = 0;
        pollfd watch{master_, POLLIN, 0};
        if (poll(&watch, 1, 30'000) != 1 || read(master_, &byte, 1) != 1)
            return false;
        wchar_t character = 0;
        if (const std::size_t size = std::mbrtowc(&character, &byte, 1, &state_); size <= 1)
            part_ += character;
        else if (size == static_cast<std::size_t>(-1))
            faults += L"no UTF-8, ";
        if (!part_.empty() && (part_[0] != 0x1B || isalpha(byte) != 0))
            act(std::exchange(part_, {}));
        return true;
    }
    bool hearFrame() {
        const int before = frames_;
        while (frames_ == before && hear()) {
        }
        return frames_ > before;
    }
    // Whether one of the rows from here on comes to show this.
    bool comesToShow(const std::wstring& text, std::size_t from) {
        for (int frames = 0; frames < 100 && hearFrame(); ++frames)
            for (std::size_t row = from; row < rows.size(); ++row)
                if (rows[row].find(text) != std::wstring::npos)
                    return true;
        return false;
    }

    std::vector<std::wstring> rows; // a place a column: no marks, and a zero behind a wide character
    std::map<std::wstring, bool> modes;
    std::wstring outside; // what was printed while no screen was there
    std::wstring faults;

private:
    // A character or a control sequence.
    void act(const std::wstring& code) {
        const int columns = wcwidth(code[0]);
        if (code.size() > 3 && code[2] == '?')
            modes[code.substr(3, code.size() - 4)] = code.back() == 'h';
        else if (!modes[L"1049"])
            outside += code;
        else if (code == L"\r" || code == L"\n")
            code == L"\r" ? x_ = 0 : ++y_;
        else if (code == L"\x1b[H")
            x_ = y_ = 0;
        else if (code == L"\x1b[K" && y_ < rows.size() && x_ < rows[y_].size())
            rows[y_].replace(x_, std::wstring::npos, rows[y_].size() - x_, L' ');
        else if (columns >= 0 && y_ < rows.size() &&
                 x_ + static_cast<std::size_t>(columns) <= rows[y_].size())
            for (int i = 0; i < columns; ++i)
                rows[y_][x_++] = i == 0 ? code[0] : L'\0';
        else if (code.back() != 'm' && (code != L"\x1b[2J" || frames_ > 0))
            faults += code + L", ";
        frames_ += code == L"\x1b[?25h" ? 1 : 0;
    }

    int master_ = -1;
    pid_t child_ = 0;
    std::mbstate_t state_{};
    std::wstring part_;
    std::size_t x_ = 0, y_ = 0;
    int frames_ = 0;
};

TEST(DemoScreen, StaysInOrderOnEverySize) {
    ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    std::string mesh = std::filesystem::temp_directory_path() / "hearthix-screen-XXXXXX";
    close(mkstemp(mesh.data()));
    std::ofstream(mesh)
        << "node 10 \xe6\xb8\xa9\xe5\xba\xa6\nsensor 0 TEMP 15 25\nswitch 1\ndimmer 2\n"
           "text 3 VAR1 e\xcc\x81\xf0\x9f\x94\xa5.\ntext 4 VAR1 1\xe6\xb8\xa9\xe6\xb8\xa9"
           "\xe6\xb8\xa9\xe6\xb8\xa9\xe6\xb8\xa9\xe6\xb8\xa9\xe6\xb8\xa9\xe6\xb8\xa9\xe6\xb8\xa9"
           "\xe6\xb8\xa9\xe6\xb8\xa9\xe6\xb8\xa9\xe6\xb8\xa9\nnode 11 evil\x1b[2J\x9b\xe0\x80\x9b\n"
           "text 1 VAR1 \x1b]0;t\x07\nsensor 2 HUM 1 9\nsensor 3 WATTS 1 9\ntext 4 VAR1 -last-\n";
    Terminal terminal("stty -g; " HEARTHIX_SIM " demo --mesh " + mesh + "; echo $?; stty -g");
    EXPECT_TRUE(terminal.hearFrame());
    std::filesystem::remove(mesh);
    const std::vector<std::wstring>& rows = terminal.rows;
    const struct {
        unsigned short columns, rows;
        const wchar_t* shows;
        std::size_t units;
    } sizes[] = {{80, 24, L"-last-", 9}, {60, 16, L" 1 to 5 of 9;", 5}, {120, 40, L"-last-", 9}};
    for (const auto& size : sizes) {
        terminal.resize(size.columns, size.rows);
        ASSERT_TRUE(terminal.comesToShow(size.shows, 2));
        terminal.type(std::string(130, 'y') + "\xe6\xb8\xa9z");
        ASSERT_TRUE(terminal.comesToShow(L"z ", size.rows - 1U)) << "the end of a line that is too long";
        terminal.type("\x15\xe6\xb8\xa9" + std::to_string(size.columns) + "\n");
        ASSERT_TRUE(terminal.comesToShow(std::to_wstring(size.columns) + L"'; help", 2 + size.units));
        const std::size_t name = rows[1].find(L"NAME"), value = rows[1].find(L"VALUE");
        EXPECT_EQ(rows[1].find(L"AGE") + 3, size.columns);
        for (std::size_t row = 2; row < 2 + size.units; ++row)
            EXPECT_TRUE(rows[row].substr(name - 1, 2) == L" (" && rows[row][value - 1] == ' ' &&
                        rows[row][value] != ' ' && rows[row][rows[1].find(L"BATT") + 3] == '%' &&
                        rows[row].back() == 's')
                << rows[1] << "\n"
                << rows[row];
        EXPECT_EQ(rows.back(), L"> " + std::wstring(size.columns - 2U, L' '));
        EXPECT_EQ(terminal.faults, L"");
    }
    terminal.type("quit\n");
    while (terminal.hear()) {
    }
    const std::wstring settings = terminal.outside.substr(0, terminal.outside.find('\n') + 1);
    EXPECT_TRUE(terminal.outside.ends_with(L"Nothing was lost.\r\n0\r\n" + settings)) << terminal.outside;
    EXPECT_EQ(terminal.modes, (std::map<std::wstring, bool>{{L"1049", false}, {L"25", true}, {L"7", true}}));
}

} // namespace
} // namespace hearthix::sim
