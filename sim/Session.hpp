// The common part of the subcommands: a view on the terminal or on a pipe, typed commands, and the end by a
// signal or a command.
#pragma once

#include "sim/HostScreen.hpp"
#include "sim/HostView.hpp"
#include "sim/system/ConsoleInput.hpp"
#include "sim/system/SignalWatch.hpp"

#include <functional>
#include <memory>

namespace hearthix::sim {

class Session {
public:
    // Chooses a screen if input and output are a terminal that can move its cursor, otherwise plain lines.
    enum class Shows { screen, lines, json };
    explicit Session(Shows shows);
    ~Session();

    HostView& view() noexcept { return *view_; }
    void watch(const HostModel& model);
    void end() noexcept { ended_ = true; }
    bool hasEnded() const noexcept { return ended_; }
    // Runs events until the end, or until nobody reads the output any more.
    void run();

    // The title of the screen.
    std::function<String()> status;
    // Called for each line that was typed.
    std::function<void(const String& line)> entered;

private:
    void signal(int number);

    bool ended_ = false;
    Ref<SignalWatch> signals_;
    std::unique_ptr<HostView> view_;
    HostScreen* screen_ = nullptr; // the view if it is a screen, otherwise null
    Ref<ConsoleInput> input_;
};

} // namespace hearthix::sim
