// The driver as a whole beside the bare relay: the same bytes in, the same bytes out, measured in turns.
// docs/performance.md tells what the figures mean.
#include "Suite.hpp"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <map>

#include <unistd.h>

namespace hearthix::bench {

namespace {

constexpr const char* kUsage = "usage: bench_whole --driver FILE --relay FILE --out FOLDER\n"
                               "                   [--parts FILE] [--stripped FILE] [--quick]\n";
// Far more than a run takes; what started it never waits for ever.
constexpr unsigned kMostSeconds = 1800;
constexpr unsigned kMostSecondsQuick = 120;

bool readOptions(int argc, char** argv, Options& options) {
    const std::map<std::string, std::string*> texts{{"--driver", &options.driver},
                                                    {"--relay", &options.relay},
                                                    {"--out", &options.out},
                                                    {"--parts", &options.parts},
                                                    {"--stripped", &options.stripped}};
    for (int i = 1; i < argc; ++i) {
        const auto known = texts.find(argv[i]);
        if (known != texts.end() && i + 1 < argc)
            *known->second = argv[++i];
        else if (std::strcmp(argv[i], "--quick") == 0)
            options.quick = true;
        else
            return false;
    }
    return !options.driver.empty() && !options.relay.empty() && !options.out.empty();
}

void run(const Options& options) {
    const Plan plan = options.quick ? Plan::quick() : Plan();
    Report report;
    measureLines(options, plan, report);
    measureSingles(options, plan, report);
    measurePseudoTerminal(options, plan, report);
    measureStart(options, plan, report);
    measureMemoryOfEndpoints(options, plan, report);
    reportParts(options, report);
    reportBinary(options, report);
    report.print();
    if (options.quick)
        std::puts("A quick run shows that the measurement works; its figures mean nothing.");
    report.save(options.out);
}

int benchWhole(int argc, char** argv) {
    Options options;
    if (!readOptions(argc, argv, options)) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    std::signal(SIGPIPE, SIG_IGN);
    alarm(options.quick ? kMostSecondsQuick : kMostSeconds);
    try {
        run(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "\nbench_whole: %s\n", error.what());
        return 1;
    }
    return 0;
}

} // namespace

} // namespace hearthix::bench

int main(int argc, char** argv) {
    return hearthix::bench::benchWhole(argc, argv);
}
