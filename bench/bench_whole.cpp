// The driver as a whole beside the bare relay: the same bytes in, the same bytes out, measured in turns.
// docs/performance.md tells what the figures mean.
#include "Suite.hpp"

#include <csignal>
#include <cstdio>
#include <exception>
#include <string>

#include <unistd.h>

namespace hearthix::bench {

namespace {

constexpr const char* kUsage =
    "usage: bench_whole DRIVER RELAY FOLDER [--quick | ACCEPTED]\n"
    "Takes parts.json and a driver without symbols from the folder, and leaves the results there.\n"
    "ACCEPTED holds the figures to compare with.\n";
// Far more than a run takes; what started it never waits for ever.
constexpr unsigned kMostSeconds = 1800;
constexpr unsigned kMostSecondsQuick = 120;
constexpr int kWorse = 3; // exit status

// False when something got worse than in the accepted run.
bool run(const Options& options) {
    const Plan plan = options.quick ? Plan::quick() : Plan();
    Report report;
    if (!options.accepted.empty())
        report.compareWith(options.accepted);
    measureLines(options, plan, report);
    measureSingles(options, plan, report);
    measurePseudoTerminal(options, plan, report);
    measureStart(options, plan, report);
    measureMemoryOfEndpoints(options, plan, report);
    reportParts(options, report);
    reportBinary(options, report);
    report.print();
    report.save(options.folder);
    if (options.quick)
        std::puts("A quick run shows that the measurement works; its figures mean nothing.");
    const std::size_t worse = report.countWorse();
    if (worse > 0)
        std::printf(
            "%zu rows are worse than in the accepted run. Run it once more; if they stay so, find the "
            "change that did it, or accept it.\n",
            worse);
    return worse == 0;
}

int benchWhole(int argc, char** argv) {
    if (argc < 4 || argc > 5) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    const std::string last = argc == 5 ? argv[4] : "";
    const bool quick = last == "--quick";
    const Options options{argv[1], argv[2], argv[3], quick ? "" : last, quick};
    std::signal(SIGPIPE, SIG_IGN);
    alarm(options.quick ? kMostSecondsQuick : kMostSeconds);
    try {
        return run(options) ? 0 : kWorse;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "\nbench_whole: %s\n", error.what());
        return 1;
    }
}

} // namespace

} // namespace hearthix::bench

int main(int argc, char** argv) {
    return hearthix::bench::benchWhole(argc, argv);
}
