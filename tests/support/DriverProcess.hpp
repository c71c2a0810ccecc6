// The real driver as a child process. Its output goes to memory, so that it never waits for a reader; it is
// killed with the object, by its process id and nothing else.
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

// Where a driver's standard output leads; closed means standard input too.
enum class Output { captured, closed, brokenPipe, full };

class DriverProcess {
public:
    explicit DriverProcess(const std::vector<std::string>& arguments, Output output = Output::captured,
                           const std::string& timeZone = "UTC0");
    DriverProcess(const DriverProcess&) = delete;
    DriverProcess& operator=(const DriverProcess&) = delete;
    ~DriverProcess();

    // Waits for the process to end by itself.
    Ending end();
    bool isRunning() const;
    void signal(int number) const;
    std::chrono::nanoseconds processorTime() const;
    std::size_t residentBytes() const;

private:
    bool endsWithin(std::chrono::milliseconds limit) const;

    Descriptor output_;
    Descriptor errors_;
    Descriptor handle_;
    pid_t pid_ = 0;
};

} // namespace hearthix::test
