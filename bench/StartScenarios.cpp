// Starting, and what it costs to be there: memory, and the program's file.
#include "Suite.hpp"

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>

namespace hearthix::bench {

namespace {

constexpr double kMebibyte = 1024 * 1024;

// The results of bench_parts: each repetition's figure by the benchmark's name. Google Benchmark writes one
// field a line.
struct Parts {
    std::map<std::string, std::vector<double>> times; // in the benchmark's unit
    std::map<std::string, std::vector<double>> bytes;
    std::map<std::string, std::string> units;
};

Parts readParts(const std::string& path) {
    Parts parts;
    std::ifstream file(path);
    std::string name;
    const auto valueOf = [](const std::string& line, const std::string& key) {
        const std::size_t at = line.find("\"" + key + "\": ");
        return at == std::string::npos ? std::string() : line.substr(at + key.size() + 4);
    };
    const auto text = [](const std::string& quoted) { return quoted.substr(1, quoted.find('"', 1) - 1); };
    for (std::string line; std::getline(file, line);) {
        if (const std::string value = valueOf(line, "name"); !value.empty())
            name = text(value);
        if (const std::string value = valueOf(line, "cpu_time"); !value.empty())
            parts.times[name].push_back(std::stod(value));
        if (const std::string value = valueOf(line, "bytes"); !value.empty())
            parts.bytes[name].push_back(std::stod(value));
        if (const std::string value = valueOf(line, "time_unit"); !value.empty())
            parts.units[name] = text(value);
    }
    return parts;
}

// How many shared libraries a program needs beyond the C and C++ runtimes.
double foreignLibraries(const std::string& program) {
    double count = 0;
    FILE* listing = popen(("readelf -d '" + program + "'").c_str(), "r");
    check(listing != nullptr, "cannot run readelf");
    std::array<char, 256> buffer{};
    while (std::fgets(buffer.data(), buffer.size(), listing) != nullptr) {
        const std::string_view line(buffer.data());
        if (line.find("(NEEDED)") == std::string_view::npos)
            continue;
        bool isRuntime = false;
        for (const char* name : {"[libstdc++.", "[libm.", "[libgcc_s.", "[libc.", "[ld-linux"})
            isRuntime = isRuntime || line.find(name) != std::string_view::npos;
        count += isRuntime ? 0 : 1;
    }
    check(pclose(listing) == 0, "readelf cannot read the program");
    return count;
}

} // namespace

void measureStart(const Options& options, const Plan& plan, Report& report) {
    Samples resident;
    Samples time;
    Samples cpu;
    for (Rounds rounds("start", plan.launches); rounds.next();) {
        Contest contest(options);
        contest.inTurn([&](const Rig& rig, auto side) {
            (cpu.*side).push_back(rig.process().cpuNanoseconds() / 1e6);
            (time.*side).push_back(rig.startNanoseconds() / 1e6);
            (resident.*side).push_back(rig.process().residentBytes() / kMebibyte);
        });
    }
    report.add({"Start, from the connection to the host until ready", "ms", "", time});
    report.add({"CPU until ready", "ms", "", cpu});
    report.add({"Resident memory at start", "MiB", "", resident, Judged::driver, 6});
}

void measureMemoryOfEndpoints(const Options& options, const Plan& plan, Report& report) {
    const std::size_t few = plan.endpoints.front();
    const std::size_t many = plan.endpoints.back();
    Samples bytes;
    for (Rounds rounds("memory of endpoints", plan.launches); rounds.next();) {
        // As many lines to each, so that only the endpoints make the difference.
        Contest with(options);
        Contest without(options);
        with.both([&](Rig& rig) { rig.introduce(valuesInTurn(many, many)); });
        without.both([&](Rig& rig) { rig.introduce(valuesInTurn(few, many)); });
        const auto perEndpoint = static_cast<double>(many - few);
        with.inTurn([&](const Rig& rig, auto side) {
            (bytes.*side).push_back(rig.process().residentBytes() / perEndpoint);
        });
        without.inTurn([&](const Rig& rig, auto side) {
            (bytes.*side).back() -= rig.process().residentBytes() / perEndpoint;
        });
    }
    report.add({"Memory per endpoint with one variable type", "B", "", bytes, Judged::driver, 600});
}

void reportParts(const Options& options, Report& report) {
    if (options.parts.empty())
        return;
    Parts parts = readParts(options.parts);
    const std::map<std::string, double> goals{{"load", 1.6}, {"save", 1.3}, {"clone", 0}, {"dump", 0}};
    for (const auto& [what, goal] : goals)
        report.add({"Document of 100,000 containers, " + what,
                    parts.units["document/" + what],
                    "Document",
                    {parts.times["document/" + what], parts.times["plain/" + what]},
                    goal > 0 ? Judged::ratio : Judged::nothing,
                    goal});
    Samples memory{parts.bytes["document/load"], parts.bytes["plain/load"]};
    for (auto* side : {&memory.driver, &memory.limit})
        for (double& bytes : *side)
            bytes /= kMebibyte;
    report.add({"Document of 100,000 containers, memory", "MiB", "", memory, Judged::ratio, 2});
    for (const auto& [name, unit] : parts.units)
        if (unit == "ns" && name.find('_') == std::string::npos) // leaves out the aggregates
            report.add({name, "ns", "Parts", {parts.times[name], {}}});
}

void reportBinary(const Options& options, Report& report) {
    if (options.stripped.empty())
        return;
    const auto size = static_cast<double>(std::filesystem::file_size(options.stripped)) / 1024;
    report.add({"Program file without symbols", "KiB", "", {{size}, {}}, Judged::driver, 400});
    report.add({"Libraries beyond the C and C++ runtimes",
                "",
                "",
                {{foreignLibraries(options.stripped)}, {}},
                Judged::driver,
                0});
}

} // namespace hearthix::bench
