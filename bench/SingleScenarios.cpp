// One line or command at a time, commands in bulk, and nothing at all.
#include "Suite.hpp"
#include "SystemCalls.hpp"

#include <thread>

namespace hearthix::bench {

namespace {

constexpr std::size_t kEndpoints = 10;
constexpr std::size_t kUnderWay = 64; // commands: a few KiB, far less than any socket buffer

// Latencies of a round's lines or commands, as their median and their 99th percentile.
struct Latency {
    Samples typical;
    Samples high;

    template <class One>
    void measure(Contest& contest, std::size_t count, const One& one) {
        contest.inTurn([&](Rig& rig, auto side) {
            std::vector<double> times;
            for (std::size_t i = 0; i < count; ++i)
                times.push_back(one(rig, i) / 1000);
            (typical.*side).push_back(median(times));
            (high.*side).push_back(quantile(times, 0.99));
        });
    }
};

void measureIdle(Contest& contest, const Plan& plan, const Values& values, Report& report) {
    Samples wakeUps;
    Samples load;
    for (Rounds rounds("idle", plan.launches); rounds.next();) {
        // Something now and then keeps the watchdog quiet.
        contest.both([&](Rig& rig) { rig.sendLine(values, 0); });
        const double nanoseconds = std::chrono::duration<double, std::nano>(plan.idle).count();
        contest.inTurn([&](const Rig& rig, auto side) {
            const double cpu = rig.process().cpuNanoseconds();
            const double switches = rig.process().voluntarySwitches();
            std::this_thread::sleep_for(plan.idle);
            (wakeUps.*side).push_back((rig.process().voluntarySwitches() - switches) / (nanoseconds / 1e9));
            (load.*side).push_back((rig.process().cpuNanoseconds() - cpu) / nanoseconds * 100);
        });
    }
    report.add({"Wake-ups, idle", "1/s", wakeUps, Judged::driver, 6});
    report.add({"CPU, idle", "% core", load, Judged::driver, 0.1});
}

} // namespace

void measureSingles(const Options& options, const Plan& plan, Report& report) {
    const std::size_t count = plan.singles;
    const Values values = randomValues(kEndpoints, count);
    const Commands commands = randomCommands(kEndpoints, count);
    const auto sendLine = [&](Rig& rig, std::size_t i) { return rig.sendLine(values, i); };
    const auto sendCommand = [&](Rig& rig, std::size_t i) { return rig.sendCommand(commands, i); };
    Contest contest(options);
    contest.both([](Rig& rig) { rig.introduce(valuesInTurn(kEndpoints, kEndpoints)); });
    Latency line;
    Latency command;
    Samples lineCalls;
    Samples commandCalls;
    Samples commandCpu;
    for (Rounds rounds("one at a time, and commands", plan.rounds); rounds.next();) {
        contest.useOneCore();
        line.measure(contest, count, sendLine);
        command.measure(contest, count, sendCommand);
        contest.inTurn([&](Rig& rig, auto side) {
            const std::size_t traced = count / 10;
            const auto countCalls = [&](Samples& samples, const auto& one) {
                (samples.*side).push_back(systemCallsOf(rig.process().id(), traced, [&] {
                    for (std::size_t i = 0; i < traced; ++i)
                        one(rig, i);
                }));
            };
            countCalls(lineCalls, sendLine);
            countCalls(commandCalls, sendCommand);
        });
        contest.useTwoCores();
        contest.inTurn([&](Rig& rig, auto side) {
            (commandCpu.*side).push_back(cpuOf(rig, count, [&] {
                rig.sendCommands(commands, count, kUnderWay);
            }));
        });
    }
    report.add({"Latency of a value to the host, p50", "us", line.typical, Judged::ratio, 1.1});
    report.add({"Latency of a value to the host, p99", "us", line.high, Judged::ratio, 1.5});
    report.add({"Latency of a command to the gateway, p50", "us", command.typical, Judged::ratio, 1.1});
    report.add({"Latency of a command to the gateway, p99", "us", command.high, Judged::ratio, {}});
    report.add({"CPU per command in bulk, 64 under way", "ns", commandCpu, Judged::ratio, {}});
    report.add({"System calls per set line, one at a time", "calls", lineCalls, Judged::driver, 4.5});
    report.add({"System calls per command, one at a time", "calls", commandCalls, Judged::driver, 6});
    measureIdle(contest, plan, values, report);
}

void measurePseudoTerminal(const Options& options, const Plan& plan, Report& report) {
    const std::size_t lines = plan.lines / 8;
    const Values values = randomValues(kEndpoints, lines);
    const Commands commands = randomCommands(kEndpoints, plan.singles);
    Contest contest(options, Link::pseudoTerminal);
    contest.both([](Rig& rig) { rig.introduce(valuesInTurn(kEndpoints, kEndpoints)); });
    Samples cpu;
    Latency line;
    Latency command;
    for (Rounds rounds("pseudo-terminal", plan.rounds); rounds.next();) {
        contest.useTwoCores();
        contest.inTurn([&](Rig& rig, auto side) {
            (cpu.*side).push_back(cpuOf(rig, lines, [&] { rig.sendLines(values, lines, kUsualChunk); }));
        });
        contest.useOneCore();
        line.measure(contest, plan.singles, [&](Rig& rig, std::size_t i) { return rig.sendLine(values, i); });
        command.measure(contest, plan.singles,
                        [&](Rig& rig, std::size_t i) { return rig.sendCommand(commands, i); });
    }
    const std::string where = " over a pseudo-terminal";
    report.add({"CPU per set line in bulk" + where, "ns", cpu, Judged::ratio, {}});
    report.add({"Latency of a value" + where + ", p50", "us", line.typical, Judged::ratio, {}});
    report.add({"Latency of a value" + where + ", p99", "us", line.high, Judged::ratio, {}});
    report.add({"Latency of a command" + where + ", p50", "us", command.typical, Judged::ratio, {}});
}

} // namespace hearthix::bench
