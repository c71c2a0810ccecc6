// The real driver, or another program, as a child process. Its output goes to memory, so that it never waits
// for a reader; it is killed with the object, by its process id and nothing else. The environment variable
// HEARTHIX_DRIVER names another driver than the one that was built with the tests.
#pragma once

#include "tests/support/Stream.hpp"

#include <vector>

#include <sys/types.h>

namespace hearthix::test {

// How a process ended: its exit status, or the negated signal, and what it printed.
struct Ending {
    int status = 0;
    std::string output;
    std::string errors;
};

// Whether the driver is one from outside, such as an emulator with another machine's: its memory and its open
// files are then not only the driver's, and it is slow.
bool isForeignDriver();

// The wrapper that puts a driver into the trouble of Faults.cpp.
std::vector<std::string> withFaults(std::vector<std::string> settings);

class Program {
public:
    explicit Program(std::vector<std::string> words);
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    ~Program();

    // Waits for the process to end by itself.
    Ending end();
    pid_t id() const noexcept { return pid_; }
    void signal(int number) const;
    std::chrono::nanoseconds processorTime() const;
    std::size_t residentBytes() const;

private:
    Descriptor output_;
    Descriptor errors_;
    pid_t pid_ = 0;
};

class DriverProcess : public Program {
public:
    // The wrapper is a program, with its arguments, that becomes the driver: prlimit, env, a shell's exec.
    explicit DriverProcess(const std::vector<std::string>& arguments, std::vector<std::string> wrapper = {});
};

} // namespace hearthix::test
