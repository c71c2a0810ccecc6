// Starting, and what it costs to be there: memory, and the program's file.
#include "Suite.hpp"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>

namespace hearthix::bench {

namespace {

constexpr double kMebibyte = 1024 * 1024;

// The results of bench_parts: each repetition's figure by the benchmark's name.
struct Parts {
    std::map<std::string, std::vector<double>> times; // in the benchmark's unit
    std::map<std::string, std::vector<double>> bytes;
    std::map<std::string, std::string> units;
};

Parts readParts(const std::string& path) {
    Parts parts;
    std::ifstream file(path);
    const auto results = nlohmann::json::parse(file);
    for (const auto& each : results.at("benchmarks")) {
        if (each.at("run_type") != "iteration")
            continue;
        const std::string name = each.at("name");
        parts.units[name] = each.at("time_unit");
        parts.times[name].push_back(each.at("cpu_time"));
        if (each.contains("bytes"))
            parts.bytes[name].push_back(each.at("bytes"));
    }
    return parts;
}

// How many shared libraries a program needs beyond the C and C++ runtimes.
double foreignLibraries(const std::string& program) {
    const std::string command =
        "readelf -d '" + program +
        "' | grep NEEDED | grep -vcE '\\[(libstdc\\+\\+|libm|libgcc_s|libc|ld-linux.*)\\.so'";
    FILE* listing = popen(command.c_str(), "r");
    double count = 0;
    check(listing != nullptr && std::fscanf(listing, "%lf", &count) == 1, "cannot run readelf and grep");
    pclose(listing);
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
    report.add({"Start, from the connection to the host until ready", "ms", time, Judged::driver, {}});
    report.add({"CPU until ready", "ms", cpu, Judged::ratio, {}});
    report.add({"Resident memory at start", "MiB", resident, Judged::driver, 6});
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
    report.add({"Memory per endpoint with one variable type", "B", bytes, Judged::driver, 600});
}

void reportParts(const Options& options, Report& report) {
    Parts parts = readParts(options.folder + "/parts.json");
    const std::string document = "Document of 100,000 containers, ";
    const std::map<std::string, std::optional<double>> goals{{"load", 1.6}, {"save", 1.3}, {"clone", {}}};
    for (const auto& [what, goal] : goals)
        report.add({document + what,
                    "ms",
                    {parts.times["document/" + what], parts.times["plain/" + what]},
                    Judged::ratio,
                    goal});
    Samples memory{parts.bytes["document/load"], parts.bytes["plain/load"]};
    for (auto* side : {&memory.driver, &memory.limit})
        for (double& bytes : *side)
            bytes /= kMebibyte;
    report.add({document + "memory", "MiB", memory, Judged::ratio, 2});
    for (const auto& [name, unit] : parts.units)
        if (name.find("document/") && name.find("plain/"))
            report.add({name, unit, {parts.times[name], {}}, Judged::nothing, {}});
}

void reportBinary(const Options& options, Report& report) {
    const std::string program = options.folder + "/hearthix-mysensors";
    const auto size = static_cast<double>(std::filesystem::file_size(program)) / 1024;
    report.add({"Program file without symbols", "KiB", {{size}, {}}, Judged::driver, 400});
    report.add({"Libraries beyond the C and C++ runtimes",
                "",
                {{foreignLibraries(program)}, {}},
                Judged::driver,
                0});
}

} // namespace hearthix::bench
