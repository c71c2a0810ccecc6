// The screen in a terminal, which tmux emulates.
#include "sim/HostTable.hpp"
#include "sim/Text.hpp"

#include <gtest/gtest.h>

#include <array>
#include <clocale>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include <unistd.h>
#include <wchar.h>

namespace hearthix::sim {
namespace {

// A demonstration on a terminal of its own.
class Demo {
public:
    explicit Demo(const std::string& environment, const std::string& mesh) {
        EXPECT_NE(mkdtemp(folder_.data()), nullptr);
        std::ofstream(folder_ + "/mesh") << mesh;
        std::ofstream(folder_ + "/run")
            << "trap : INT; stty -g; " << environment << " " HEARTHIX_SIM << " demo --mesh " << folder_
            << "/mesh; printf 'ended with %s\\n%s\\n' $? $(stty -g); cat";
        tmux("-f /dev/null new-session -d -x 80 -y 8 sh " + folder_ + "/run");
    }
    ~Demo() {
        tmux("kill-server");
        std::filesystem::remove_all(folder_);
    }
    std::string tmux(const std::string& words) const {
        const std::string command = "tmux -u -S " + folder_ + "/socket " + words;
        std::string text;
        FILE* pipe = popen(command.c_str(), "r"); // NOLINT(cert-env33-c): the words are the tests' own
        for (int byte = 0; pipe != nullptr && (byte = fgetc(pipe)) != EOF;)
            text += static_cast<char>(byte);
        EXPECT_TRUE(pipe != nullptr && pclose(pipe) == 0) << command << "\n" << text;
        return text;
    }
    // Waits until a condition is true for the screen. Gives up when any check has failed. The log scrolls, so
    // a line of it may be gone before a busy machine looks: further keys, sent every second, make it appear
    // again.
    bool becomes(const std::function<bool(const std::string& screen)>& condition,
                 const std::string& keys = "", const std::string& again = "") const {
        if (!keys.empty())
            tmux("send-keys " + keys);
        for (int turn = 1; turn <= 6000 && !::testing::Test::HasFailure(); ++turn, usleep(50'000)) {
            if (condition(tmux("capture-pane -p")))
                return true;
            if (turn % 20 == 0 && !again.empty())
                tmux("send-keys " + again);
        }
        ADD_FAILURE() << tmux("capture-pane -p");
        return false;
    }
    bool shows(const std::string& text, const std::string& keys = "", const std::string& again = "") const {
        const auto found = [&](const std::string& screen) { return screen.find(text) != std::string::npos; };
        return becomes(found, keys, again);
    }

private:
    std::string folder_ = std::filesystem::temp_directory_path() / "hearthix-screen-XXXXXX";
};

std::string node(int id, const std::string& name, int battery, const std::string& children) {
    return "[[node]]\nid = " + std::to_string(id) + "\nname = \"" + name +
           "\"\nbattery = " + std::to_string(battery) + "\nchild = [" + children + "]\n";
}

// One element for each column: combining marks are left out, and a zero follows a wide character.
std::vector<std::wstring> rowsOf(const std::string& screen) {
    std::vector<std::wstring> rows(1);
    std::wstring wide(screen.size(), L'\0');
    wide.resize(std::mbstowcs(wide.data(), screen.c_str(), wide.size()));
    for (const wchar_t each : wide)
        if (each == L'\n')
            rows.emplace_back();
        else if (const int columns = wcwidth(each); columns > 0)
            rows.back().append(1, each).append(static_cast<std::size_t>(columns) - 1, L'\0');
    return rows;
}

// Whether the table of units is complete, with every value below its title.
bool keepsColumns(const std::vector<std::wstring>& rows, std::size_t columns) {
    const auto cell = [&rows](std::size_t row, std::size_t column) {
        return row < rows.size() && column < rows[row].size() ? rows[row][column] : L'\0';
    };
    if (rows.size() < 8)
        return false;
    const std::size_t name = rows[1].find(L"NAME"), value = rows[1].find(L"VALUE"),
                      battery = rows[1].find(L"BATT");
    bool good = rows[1].find(L"AGE") + 3 == columns;
    for (std::size_t row = 2; row < 8; ++row)
        good = good && cell(row, name - 1) == ' ' && cell(row, name) == (row < 6 ? L'\u6e29' : L'e') &&
               cell(row, value - 1) == ' ' && cell(row, value) != ' ' && cell(row, value) != 0 &&
               cell(row, battery + 3) == '%' && cell(row, columns - 1) == 's';
    return good;
}

TEST(DemoScreen, KeepsItsColumnsOnEverySize) {
    ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    std::string wide;
    while (wide.size() < 75)
        wide += "\u6e29";
    const std::string text = ", type = 'VAR1', text = ";
    const Demo demo("", node(10, wide, 15,
                             "{id = 0, type = 'TEMP', low = 15, high = 25}, {id = 1, type = 'STATUS'},"
                             "{id = 3" +
                                 text + "'e\u0301\U0001f525.'}, {id = 4" + text + "'1" + wide + "'}") +
                            node(11, "evil\\u001b[2J\\u009b", 70,
                                 "{id = 1" + text +
                                     "\"\\u001b]0;t\\u0007\\u202e\"},"
                                     "{id = 2, type = 'HUM', low = 1, high = 9}"));
    const std::pair<int, const char*> sizes[] = {{80, "24"}, {60, "16"}, {1, "1"}, {20, "5"}, {120, "40"}};
    for (const auto& size : sizes) {
        const int columns = size.first;
        const std::string width = std::to_string(columns);
        demo.tmux("resize-window -x " + width + " -y " + size.second);
        const bool isLarge = columns > 20;
        EXPECT_TRUE(demo.shows(columns == 1 ? "" : "\u6e29z\n", std::string(130, 'y') + "\u6e29z"))
            << "the end";
        const std::string unknown = "C-u \u6e29" + width + " Enter";
        EXPECT_TRUE(demo.shows(isLarge ? width + "'; help" : "", unknown, unknown));
        EXPECT_TRUE(!isLarge || demo.becomes([&](const std::string& screen) {
            return keepsColumns(rowsOf(screen), static_cast<std::size_t>(columns));
        })) << "columns";
    }
}

TEST(DemoScreen, ObeysItsKeysAndLeavesTheTerminalAsItWas) {
    const Demo demo(
        "", node(10, "Roof", 15, "{id = 1, type = 'HUM', low = 7, high = 7, every = 1}") +
                node(12, "Porch", 0,
                     "{id = 1, type = 'STATUS'}, {id = 2, type = 'TEMP', low = 2, high = 3, every = 0.2}"));
    const struct {
        const char *keys, *text, *again = "";
    } steps[] = {{"NPage", "\u2588     -    0s"},
                 {"Home", "1-2 of 3"},
                 {"/ p O r", "\u2500 /pOr 2 of 3  log"},
                 {"Enter Escape", "0A01.HUM         Roof             7"},
                 {"Down Down Enter", "> set 0C01.STATUS"},
                 {"1 Enter", "command  SetValue 0C01.STATUS 1\n"},
                 {"C-r", "command  Qery 0C01.STATUS\n"},
                 {"Space", "command  OFF 0C01.STATUS\n"},
                 {"help Enter", "raw TEXT"},
                 {"x Escape Escape", "? keys\n"},
                 {"'>' '>' '!'", "VALUEv"},
                 {"'?'", "PgUp"},
                 {"x oneXY BSpace Left T", "> oneTX\n"},
                 {"Home DC End BSpace Enter", "no command 'neT'", "Up Enter"},
                 {"two Enter Up Up Down", "> two\n"},
                 {"C-u Tab Tab Home", " back \u2500"},
                 {"quit Enter", "Nothing was lost.\nended with 0\n"}};
    EXPECT_TRUE(demo.shows("1-2 of 3"));
    for (const auto& [keys, text, again] : steps)
        EXPECT_TRUE(demo.shows(text, keys, again)) << keys;
    const std::string all = demo.tmux("capture-pane -p -J -S -");
    EXPECT_NE(all.find("VALUEv"), std::string::npos) << "the last screen is printed";
    EXPECT_NE(all.find(all.substr(0, all.find('\n')), 1), std::string::npos) << "other settings\n" << all;
    EXPECT_EQ(demo.tmux("display -p '#{alternate_on}#{cursor_flag}'"), "01\n");
}

TEST(DemoScreen, ShowsNoMoreThanTheTerminalCanAndItsUserWants) {
    for (const std::string environment : {"TERM=dumb", "TERM=", "NO_COLOR=1", "NO_COLOR="}) {
        const Demo demo(environment,
                        node(10, "A", 5, "{id = 1, type = 'HUM', low = 1, high = 9, every = 0.2}"));
        EXPECT_TRUE(demo.shows(environment[0] == 'T' ? " value    0A01.HUM " : "\u2588")) << environment;
        const std::string screen = demo.tmux("capture-pane -p -e");
        EXPECT_EQ(screen.find("\x1b[36m") != std::string::npos, environment == "NO_COLOR=");
        EXPECT_TRUE(demo.shows("ended with 0", "C-c")) << environment;
    }
}

TEST(HostTable, SortsByEveryColumnAndDrawsAnyNumbers) {
    const auto document = Ref<CXML>::make();
    for (const char* words :
         {"0A01.TEMP b 10 0", "0A02.TEMP C 9 50", "0A03.TEMP a text 7", "0A04.TEMP d 1e999 0"}) {
        const auto unit = Ref<CXML>::make();
        unit->Name = "unit";
        for (std::size_t i = 0; i < 4; ++i)
            unit->SetStringValue(std::array{"Address", "Name", "Value", "Battery"}[i], wordsOf(words)[i]);
        document->InsertContainer(unit);
    }
    HostModel model;
    model.load(*document);
    HostTable table;
    std::string orders;
    for (int column = 0; column < 10; ++column, orders += ' ') {
        for (const HostUnit* unit : table.units(model))
            orders += unit->address.view()[3];
        column == 4 ? table.reverse() : table.sortBy(1);
    }
    EXPECT_EQ(orders, "1234 3124 2143 3214 1234 4321 4321 4213 1234 2341 ");
    HostUnit unit;
    EXPECT_TRUE(isStale(unit));
    unit.recent = {1.7e308, -1.7e308, 0, 0, 5e307};
    EXPECT_EQ(sparkLine(unit, 6), " \u2588\u2581\u2585\u2585\u2586");
}

} // namespace
} // namespace hearthix::sim
