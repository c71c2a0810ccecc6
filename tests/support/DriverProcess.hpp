// The real driver, or another program, as a child process. Its output goes to memory, so that it never waits
// for a reader. It ends with the object. The environment variable HEARTHIX_DRIVER names another driver than
// the one that was built with the tests.
#pragma once

#include "sim/system/Process.hpp"
#include "tests/support/Stream.hpp"

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <vector>

#include <sys/mman.h>

namespace hearthix::test {

// How a process ended: its exit status, or the negated signal, and what it printed.
struct Ending {
    int status = 0;
    std::string output;
    std::string errors;
};

// Whether HEARTHIX_DRIVER is set, for example to an emulator that runs the driver of another machine. Memory
// and open files are then not only the driver's, and it is slow.
inline bool isForeignDriver() {
    return std::getenv("HEARTHIX_DRIVER") != nullptr;
}

// The wrapper for a driver with the faults of Faults.cpp.
inline std::vector<std::string> withFaults(std::vector<std::string> settings) {
    const char* emulated =
        std::getenv("HEARTHIX_FAULTS"); // the variable that loads it into an emulated driver
    settings.insert(settings.begin(),
                    {"env", emulated != nullptr ? emulated : std::string("LD_PRELOAD=") + HEARTHIX_FAULTS,
                     "ASAN_OPTIONS=verify_asan_link_order=0"});
    return settings;
}

class Program {
public:
    explicit Program(const std::vector<std::string>& words)
        : output_(memfd_create("output", MFD_CLOEXEC)), errors_(memfd_create("errors", MFD_CLOEXEC)) {
        if (process_.start(words, output_.get(), errors_.get()) != 0)
            throw std::runtime_error("cannot start " + words[0]);
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;
    ~Program() {
        process_.stop(kPatience); // a driver built for coverage writes its counts before it ends
    }

    // Waits for the process to end by itself.
    Ending end() {
        const std::optional<int> status = process_.wait(kPatience);
        if (!status)
            throw std::runtime_error("the program does not end");
        return {*status, contentOf(output_), contentOf(errors_)};
    }
    pid_t id() const noexcept { return process_.id(); }
    void signal(int number) const { process_.signal(number); }
    std::chrono::nanoseconds processorTime() const {
        clockid_t clock{};
        timespec used{};
        if (clock_getcpuclockid(id(), &clock) != 0 || clock_gettime(clock, &used) != 0)
            throw std::runtime_error("the program has ended");
        return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
    }
    // Counted page by page; the figure in /proc/PID/status may lag by some hundred KiB.
    std::size_t residentBytes() const {
        std::ifstream pages("/proc/" + std::to_string(id()) + "/smaps_rollup");
        std::size_t kibibytes = 0;
        for (std::string word; pages >> word;)
            if (word == "Rss:")
                pages >> kibibytes;
        return kibibytes * 1024;
    }

private:
    static std::string contentOf(const Descriptor& file) {
        std::ifstream stream("/proc/self/fd/" + std::to_string(file.get()), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    Descriptor output_;
    Descriptor errors_;
    Process process_;
};

class DriverProcess : public Program {
public:
    // The wrapper is a program, with its arguments, that becomes the driver: prlimit, env, a shell's exec.
    explicit DriverProcess(const std::vector<std::string>& arguments, std::vector<std::string> wrapper = {})
        : Program(behind(std::move(wrapper), arguments)) {}

private:
    static std::vector<std::string> behind(std::vector<std::string> words,
                                           const std::vector<std::string>& arguments) {
        words.emplace_back(isForeignDriver() ? std::getenv("HEARTHIX_DRIVER") : HEARTHIX_DRIVER);
        words.insert(words.end(), arguments.begin(), arguments.end());
        return words;
    }
};

} // namespace hearthix::test
