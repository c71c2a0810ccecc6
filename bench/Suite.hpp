// The scenarios of bench_whole and what they share. Each adds its rows to the report.
#pragma once

#include "Report.hpp"
#include "Rig.hpp"

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace hearthix::bench {

struct Options {
    std::string driver;
    std::string relay;
    std::string folder;   // of the results; holds those of bench_parts, and the driver without its symbols
    std::string accepted; // the figures to compare with, if any
    bool quick;
};

// How much of everything. The endpoints are few, some, and many.
struct Plan {
    std::vector<std::size_t> endpoints{10, 1000, kMostEndpoints};
    std::size_t rounds = 21;
    std::size_t launches = 5;
    std::size_t lines = 400'000; // in the largest chunks; fewer in smaller ones
    std::size_t singles = 5'000;
    std::size_t growthPasses = 13; // over all lines
    std::chrono::milliseconds idle{4'000};

    static Plan quick() { return {{10, 50, 200}, 1, 1, 8'000, 200, 2, std::chrono::milliseconds(500)}; }
};

inline constexpr std::size_t kUsualChunk = 64 * 1024;

// The driver and the relay, each in a rig of its own, measured in turns.
class Contest {
public:
    explicit Contest(const Options& options, Link link = Link::tcp);

    // Throughput: the programs on one processor, their peers on another.
    void useTwoCores() const;
    // Latency: with everything on one processor it doesn't depend on where the scheduler puts whom.
    void useOneCore() const;

    template <class Action>
    void both(const Action& action) {
        action(driver_);
        action(relay_);
    }
    // Calls measure(rig, side) for each, the other one first every time; side is its part of any Samples.
    template <class Measure>
    void inTurn(const Measure& measure) {
        driverFirst_ = !driverFirst_;
        if (driverFirst_)
            measure(driver_, &Samples::driver);
        measure(relay_, &Samples::limit);
        if (!driverFirst_)
            measure(driver_, &Samples::driver);
    }

private:
    Rig driver_;
    Rig relay_;
    bool driverFirst_ = false;
};

// Shows on the terminal that something goes on: while (rounds.next()) ...
class Rounds {
public:
    Rounds(const char* name, std::size_t count);
    Rounds(const Rounds&) = delete;
    Rounds& operator=(const Rounds&) = delete;
    ~Rounds();
    bool next();

private:
    std::size_t left_;
};

// CPU nanoseconds of the program per piece of work.
template <class Work>
double cpuOf(Rig& rig, std::size_t pieces, const Work& work) {
    const double before = rig.process().cpuNanoseconds();
    work();
    return (rig.process().cpuNanoseconds() - before) / static_cast<double>(pieces);
}

// 65,025 for 65025.
std::string grouped(std::size_t number);

void measureLines(const Options& options, const Plan& plan, Report& report);
void measureSingles(const Options& options, const Plan& plan, Report& report);
void measurePseudoTerminal(const Options& options, const Plan& plan, Report& report);
void measureStart(const Options& options, const Plan& plan, Report& report);
void measureMemoryOfEndpoints(const Options& options, const Plan& plan, Report& report);
void reportParts(const Options& options, Report& report);
void reportBinary(const Options& options, Report& report);

} // namespace hearthix::bench
