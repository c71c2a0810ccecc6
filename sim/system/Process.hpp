// A program that this process starts and ends. All programs are started here. The class needs neither the
// event loop nor other code of the driver. ChildProcess adds events; tests and measurements use this class
// directly.
//
// The program's standard input is empty, and signals have their default actions. It has its own process
// group, so that Ctrl-C at the terminal reaches only this process, which then ends the program.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace hearthix {

class Process {
public:
    Process() = default;
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process() { stop(std::chrono::milliseconds(0)); }

    // The words are the path of the program, or a name that is looked up in PATH, and its arguments. The
    // descriptors become its standard output and its standard error. Returns 0, or the number of the error.
    int start(const std::vector<std::string>& words, int output, int errors);
    // 0 while no program runs.
    pid_t id() const noexcept { return id_; }
    // Does nothing when no program runs.
    void signal(int number) const;
    // The exit status or the negated number of the signal that ended the program. Nothing while it still runs
    // after the given time; the object forgets a program that has ended.
    std::optional<int> wait(std::chrono::milliseconds limit);
    // Requests that the program end, kills it if it has not ended after the given time, and waits for its
    // end.
    void stop(std::chrono::milliseconds limit);

private:
    pid_t id_ = 0;
};

} // namespace hearthix
