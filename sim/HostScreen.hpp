// The live screen: units above, the log below them, and a line to type in at the bottom.
//
// A frame goes to the terminal in one write and overwrites the one before, so nothing flickers; frames are
// drawn when something has changed, at most ten a second, and once a second for the ages. The terminal is as
// it was before when the screen goes.
#pragma once

#include "sim/Alarm.hpp"
#include "sim/HostView.hpp"
#include "sim/system/Terminal.hpp"

#include <deque>
#include <functional>

namespace hearthix::sim {

class HostScreen : public HostView {
public:
    // The status is asked for with each frame.
    HostScreen(std::function<String()> status, std::function<void(const String& line)> entered);
    ~HostScreen() override;

    void watch(const HostModel& model);
    void note(const String& kind, const String& text) override;
    void unitChanged(const HostUnit& unit, HostModel::Change change) override;
    // Turns to the next page of units.
    void showUnits(const HostModel& model) override;
    void typed(std::string_view bytes) override;
    void sizeChanged() { drawSoon(); }

    // A frame for a terminal of this size, cursor movements included.
    std::string frame(terminal::Size size);

private:
    void drawSoon();
    void draw();
    void type(char key);
    std::size_t unitRows(std::size_t rows) const;
    void appendUnits(std::string& text, std::size_t rows, std::size_t columns) const;
    void appendLog(std::string& text, std::size_t rows, std::size_t columns) const;

    terminal::KeyMode keys_;
    std::function<String()> status_;
    std::function<void(const String& line)> entered_;
    const HostModel* model_ = nullptr;
    std::deque<std::string> log_;
    std::string typed_;
    bool inEscape_ = false;
    std::size_t firstUnit_ = 0;
    Alarm redraw_;
};

} // namespace hearthix::sim
