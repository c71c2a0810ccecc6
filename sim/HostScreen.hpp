// The live screen, with the units, the log below them, and a command line at the bottom.
//
// Arrow keys and other cursor keys control the one of the three that has the focus. Tab moves the focus.
// Typed characters always go to the command line. A frame is drawn for each key, at most ten times a second
// for other changes, and once a second for the ages. At the end the terminal gets its earlier settings back,
// and the last frame is printed.
#pragma once

#include "sim/Alarm.hpp"
#include "sim/HostTable.hpp"
#include "sim/HostView.hpp"
#include "sim/system/Terminal.hpp"
#include "sim/TypedLine.hpp"

#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace hearthix::sim {

class HostScreen : public HostView {
public:
    // The status is the title of each frame.
    HostScreen(std::function<String()> status, std::function<void(const String& line)> entered);

    void watch(const HostModel& model);
    void note(const String& kind, const String& text) override;
    void unitChanged(const HostUnit& unit, HostModel::Change change) override;
    // Shows the next page of units.
    void showUnits(const HostModel& model) override;
    // Shows the lines instead of table and log until a key is pressed.
    void showHelp(const std::vector<std::string>& lines) override;
    // Handles all keys that have been pressed.
    void readKeys();
    void sizeChanged();

private:
    enum class Pane { table, log, line, filter };
    struct LogLine {
        std::string time;
        std::string kind;
        std::string text;
    };

    void press(const terminal::Key& key);
    bool pressCommand(const terminal::Key& key);
    bool pressShortcut(const terminal::Key& key);
    bool pressUnit(const terminal::Key& key);
    void pressEnter();
    void pressEscape();
    void select(int step);
    void switchUnit();
    void beginSetting();
    void scroll(const terminal::Key& key);
    void scrollTable(int rows);
    void scrollLog(int rows);
    void changeFilter();

    void drawSoon();
    void draw();
    void drawPage() const;
    void drawHeading() const;
    void drawUnits(const std::vector<const HostUnit*>& units);
    void drawUnit(int row, const HostUnit& unit) const;
    void drawRule(int units) const;
    void drawLog();
    void drawLine() const;
    void put(int row, int column, int width, std::string_view text, attr_t look = A_NORMAL) const;

    terminal::Screen screen_;
    std::function<String()> status_;
    std::function<void(const String& line)> entered_;
    const HostModel* model_ = nullptr;
    HostTable table_;
    std::deque<LogLine> log_;
    TypedLine typed_;
    TypedLine filter_;
    Pane pane_ = Pane::table;
    String selected_;               // the address of a unit; empty for none
    std::vector<std::string> page_; // shown instead of table and log; empty for none
    int tableRows_ = 1;             // in the last frame, like logRows_
    int logRows_ = 1;
    int firstUnit_ = 0;
    int logBack_ = 0; // lines between the end of the log and the last one shown
    Alarm redraw_;
};

} // namespace hearthix::sim
