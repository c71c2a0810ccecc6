// A program under measurement: started, watched through /proc, and gone for sure when its object goes.
//
// It also dies with the load program, whatever ends that one. Everything here throws std::runtime_error with
// a sentence for the person at the terminal.
#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

namespace hearthix::bench {

class Process {
public:
    // Program path and arguments; its output is dropped.
    explicit Process(std::vector<std::string> command);
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process();

    pid_t id() const noexcept { return id_; }
    void pinTo(int cpu) const;
    // Since its start, user and system together. Exact for a process that sleeps, so it waits a moment first.
    double cpuNanoseconds() const;
    // How often it gave up the processor of its own accord: its wake-ups.
    double voluntarySwitches() const;
    // Counted page by page; the figure in /proc/PID/status may lag by some hundred KiB.
    double residentBytes() const;

private:
    std::string procFile(const char* name) const;

    pid_t id_ = -1;
};

// The processors that this program may use.
std::vector<int> usableCpus();
void pinSelfTo(int cpu);

} // namespace hearthix::bench
