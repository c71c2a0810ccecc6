// Measures the driver in comparison with the relay, a minimal program that produces the same output bytes
// from the same input bytes. docs/performance.md explains the figures.
#include "bench/Results.hpp"
#include "bench/Rig.hpp"

#include <chrono>
#include <cstdio>
#include <exception>
#include <thread>

namespace hearthix::bench {

namespace {

constexpr std::size_t kFew = 10; // endpoints
constexpr std::size_t kSmallChunk = 1024, kLargeChunk = 64 * 1024;

struct Plan {
    int rounds = 15;
    int launches = 5;
    std::size_t lines = 300'000;
    std::size_t singles = 3'000;
    std::size_t passes = 15; // over all lines, for the growth of memory
    std::size_t some = 2'500;
    std::size_t many = 65'025;
    std::size_t units = 100'000;
    std::chrono::milliseconds idle{2'000};
};
constexpr Plan kQuickPlan{1, 1, 5'000, 200, 2, 50, 200, 1'000, std::chrono::milliseconds(200)};

void report(const char* what, int round, int rounds) {
    if (round == 0)
        std::fprintf(stderr, "== %s ", what);
    std::fputs(round + 1 < rounds ? "." : ".\n", stderr);
}

// Measures the driver and its baseline. The driver is first in every second round.
template <class Measure>
Sample alternate(int round, Rig& driver, Rig& relay, const Measure& measure) {
    const double early = round % 2 == 0 ? measure(driver) : 0;
    const double baseline = measure(relay);
    return {round % 2 == 0 ? early : measure(driver), baseline};
}

double cpuPerLine(Rig& rig, const Workload& workload, std::size_t chunk) {
    const double before = rig.cpu();
    rig.sendLines(workload, chunk);
    return (rig.cpu() - before) / static_cast<double>(workload.lines.starts.size() - 1);
}

void measureBulk(const std::string& driver, const Plan& plan, Results& results) {
    Rig relay(HEARTHIX_RELAY, 1), few(driver, kFew), some(driver, plan.some), many(driver, plan.many);
    const double perEndpoint = 1024 / static_cast<double>(plan.many - kFew);
    results.add("Memory per endpoint", "B", kNone,
                {(many.residentKibibytes() - few.residentKibibytes()) * perEndpoint});
    const Workload ofFew(kFew, plan.lines), ofSome(plan.some, plan.lines), ofMany(plan.many, plan.lines);
    useProcessor(Processor::last);
    for (int round = 0; round < plan.rounds; ++round) {
        report("lines in bulk", round, plan.rounds);
        const Sample large =
            alternate(round, few, relay, [&](Rig& rig) { return cpuPerLine(rig, ofFew, kLargeChunk); });
        results.add("CPU per line, 64 KiB chunks", "ns", 10, large);
        results.add("CPU per line, 1 KiB chunks", "ns", 6, alternate(round, few, relay, [&](Rig& rig) {
                        return cpuPerLine(rig, ofFew, kSmallChunk);
                    }));
        results.add("CPU per line, 2,500 endpoints beside 10", "ns", 1.1,
                    {cpuPerLine(some, ofSome, kLargeChunk), large.driver});
        results.add("CPU per line, 65,025 endpoints beside 10", "ns", 3,
                    {cpuPerLine(many, ofMany, kLargeChunk), large.driver});
    }
    const double before = some.residentKibibytes();
    for (std::size_t pass = 0; pass < plan.passes; ++pass)
        some.sendLines(ofSome, kLargeChunk);
    results.add("Growth of memory over millions of lines", "KiB", 0, {some.residentKibibytes() - before});
}

template <class Send>
double medianLatency(Rig& rig, const Plan& plan, const Workload& workload, const Send& send) {
    std::vector<double> microseconds;
    for (std::size_t i = 0; i < plan.singles; ++i)
        microseconds.push_back((rig.*send)(workload, i));
    return median(microseconds);
}

void measureSingles(const std::string& driver, const Plan& plan, Results& results) {
    const Workload workload(kFew, plan.singles);
    Rig subject(driver, kFew), relay(HEARTHIX_RELAY, 1);
    useProcessor(Processor::first);
    const auto median = [&](auto send) {
        return [&, send](Rig& rig) { return medianLatency(rig, plan, workload, send); };
    };
    for (int round = 0; round < plan.rounds; ++round) {
        report("one at a time", round, plan.rounds);
        results.add("Latency of a value, p50", "us", 1.1,
                    alternate(round, subject, relay, median(&Rig::sendLine)));
        results.add("Latency of a command, p50", "us", 1.4,
                    alternate(round, subject, relay, median(&Rig::sendCommand)));
    }
    for (const auto& [what, send] : {std::pair("System calls per value", &Rig::sendLine),
                                     std::pair("System calls per command", &Rig::sendCommand)})
        results.add(what, "calls", kNone, {subject.systemCallsDuring([&] {
                        medianLatency(subject, plan, workload, send);
                    }) / static_cast<double>(plan.singles)});
    const double seconds = std::chrono::duration<double>(plan.idle).count();
    for (int round = 0; round < plan.launches; ++round) {
        report("idle", round, plan.launches);
        subject.sendLine(workload, 0); // after ten seconds of silence the driver would ask for the version
        const double cpu = subject.cpu(), wakeUps = subject.wakeUps();
        std::this_thread::sleep_for(plan.idle);
        results.add("Wake-ups per second, idle", "1/s", kNone, {(subject.wakeUps() - wakeUps) / seconds});
        results.add("CPU, idle", "%", kNone, {(subject.cpu() - cpu) / 1e7 / seconds});
    }
}

void measureStart(const std::string& driver, const Plan& plan, Results& results) {
    for (int round = 0; round < plan.launches; ++round) {
        report("start", round, plan.launches);
        const Rig rig(driver, 0);
        results.add("Start, from the host's connection until ready", "ms", kNone, {rig.startMilliseconds()});
        results.add("CPU until ready", "ms", kNone, {rig.cpu() / 1e6});
        results.add("Memory at start", "KiB", kNone, {rig.residentKibibytes()});
    }
}

} // namespace

} // namespace hearthix::bench

int main(int argc, char** argv) {
    using namespace hearthix::bench;
    const bool isQuick = argc == 4 && std::string_view(argv[3]) == "--quick";
    if (argc < 3 || (argc > 3 && !isQuick)) {
        std::fputs("usage: bench DRIVER RESULTS [--quick]; RESULTS is the file to write\n", stderr);
        return 2;
    }
    try {
        const Plan plan = isQuick ? kQuickPlan : Plan();
        Results results;
        measureBulk(argv[1], plan, results);
        measureSingles(argv[1], plan, results);
        measureStart(argv[1], plan, results);
        measureDocuments(results, plan.rounds, plan.units);
        results.save(argv[2]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench: %s\n", error.what());
        return 1;
    }
}
