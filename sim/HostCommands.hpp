// The commands that a user can enter, one on each line.
#pragma once

#include "sim/Host.hpp"

#include <deque>
#include <functional>
#include <utility>
#include <vector>

namespace hearthix::sim {

class HostCommands {
public:
    HostCommands(Host& host, std::function<void()> quit);

    // Carries out a line, or reports in the log why it is wrong. A command that needs a driver waits for it,
    // and the commands after it wait, too. On a terminal, commands that need no driver never wait.
    void run(const String& line);
    // The reason why some lines were not carried out, for the end of a run. Empty if all were, or if a person
    // typed them.
    String failure() const;

private:
    using Words = std::vector<String>;
    enum class Needs { nothing, driver, readyDriver };
    struct Entry {
        const char* name;
        const char* arguments;
        std::size_t count; // number of arguments
        void (HostCommands::*action)(const Words& words, const String& line);
        Needs needs;
    };
    static const std::vector<Entry>& entries();

    bool canRun(const Entry& entry) const;
    void runWaiting();

    void unitCommand(const Words& words, const String& line);
    void set(const Words& words, const String& line);
    void driverCommand(const Words& words, const String& line);
    void debug(const Words& words, const String& line);
    void letter(const Words& words, const String& line);
    void raw(const Words& words, const String& line);
    void units(const Words& words, const String& line);
    void showHelp(const Words& words, const String& line);
    void quit(const Words& words, const String& line);
    void complain(const String& text);

    Host& host_;
    std::function<void()> quit_;
    std::deque<std::pair<const Entry*, String>> waiting_;
    bool refused_ = false;
};

} // namespace hearthix::sim
