// The real driver, or another program, as a child process. Its output goes to memory, so that it never waits
// for a reader. It ends with the object. The environment variable HEARTHIX_DRIVER names another driver than
// the one that was built with the tests.
#pragma once

#include "sim/system/Process.hpp"
#include "tests/support/Stream.hpp"

#include <vector>

namespace hearthix::test {

// How a process ended: its exit status, or the negated signal, and what it printed.
struct Ending {
    int status = 0;
    std::string output;
    std::string errors;
};

// Whether HEARTHIX_DRIVER is set, for example to an emulator that runs the driver of another machine. Memory
// and open files are then not only the driver's, and it is slow.
bool isForeignDriver();

// The wrapper for a driver with the faults of Faults.cpp.
std::vector<std::string> withFaults(std::vector<std::string> settings);

class Program {
public:
    explicit Program(const std::vector<std::string>& words);
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    ~Program();

    // Waits for the process to end by itself.
    Ending end();
    pid_t id() const noexcept { return process_.id(); }
    void signal(int number) const { process_.signal(number); }
    std::chrono::nanoseconds processorTime() const;
    // Counted page by page; the figure in /proc/PID/status may lag by some hundred KiB.
    std::size_t residentBytes() const;

private:
    Descriptor output_;
    Descriptor errors_;
    Process process_;
};

class DriverProcess : public Program {
public:
    // The wrapper is a program, with its arguments, that becomes the driver: prlimit, env, a shell's exec.
    explicit DriverProcess(const std::vector<std::string>& arguments, std::vector<std::string> wrapper = {});
};

} // namespace hearthix::test
