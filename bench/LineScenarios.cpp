// Set lines in bulk, from the gateway to the host.
#include "Suite.hpp"
#include "SystemCalls.hpp"

#include <map>
#include <memory>

namespace hearthix::bench {

namespace {

struct Chunk {
    std::size_t bytes;
    const char* name;
    std::size_t share;          // of the plan's lines
    std::optional<double> goal; // for some endpoints, against the relay
};
constexpr Chunk kChunks[] = {{16, "16 B", 20, {}},
                             {1024, "1 KiB", 4, 6},
                             {kUsualChunk, "64 KiB", 2, 7},
                             {1024 * 1024, "1 MiB", 1, {}}};
constexpr const Chunk& kLargestChunk = kChunks[3];

// The same programs with a given number of endpoints.
struct Field {
    std::size_t endpoints;
    Values values;
    std::unique_ptr<Contest> contest;
    std::map<std::size_t, Samples> cpu; // by chunk

    void measure(const Chunk& chunk, std::size_t lines) {
        contest->inTurn([&](Rig& rig, auto side) {
            (cpu[chunk.bytes].*side).push_back(cpuOf(rig, lines, [&] {
                rig.sendLines(values, lines, chunk.bytes);
            }));
        });
    }
};

Field enter(const Options& options, std::size_t endpoints, std::size_t lines) {
    Field field{endpoints, randomValues(endpoints, lines), std::make_unique<Contest>(options), {}};
    field.contest->useTwoCores();
    field.contest->both([&](Rig& rig) { rig.introduce(valuesInTurn(endpoints, endpoints)); });
    return field;
}

// How two measurements of the same rounds compare, round by round.
Samples quotient(const Samples& above, const Samples& below) {
    Samples result = above;
    for (std::size_t i = 0; i < above.driver.size(); ++i)
        result.driver[i] /= below.driver[i];
    for (std::size_t i = 0; i < above.limit.size(); ++i)
        result.limit[i] /= below.limit[i];
    return result;
}

Samples measureGrowth(Field& field, const Plan& plan) {
    Samples grown;
    Rounds rounds("memory over many lines", 1);
    rounds.next();
    field.contest->inTurn([&](Rig& rig, auto side) {
        const double before = rig.process().residentBytes();
        for (std::size_t pass = 0; pass < plan.growthPasses; ++pass)
            rig.sendLines(field.values, plan.lines, kUsualChunk);
        (grown.*side).push_back((rig.process().residentBytes() - before) / 1024);
    });
    return grown;
}

void addCpuRows(std::vector<Field>& fields, const Field& judged, Report& report) {
    for (const Chunk& chunk : kChunks)
        for (Field& field : fields)
            report.add({std::string("CPU per set line, ") + chunk.name + " chunks, " +
                            grouped(field.endpoints) + " endpoints",
                        "ns", field.cpu[chunk.bytes], Judged::ratio,
                        &field == &judged ? chunk.goal : std::nullopt});
}

} // namespace

void measureLines(const Options& options, const Plan& plan, Report& report) {
    std::vector<Field> fields;
    for (const std::size_t endpoints : plan.endpoints)
        fields.push_back(enter(options, endpoints, plan.lines));
    Field& few = fields[0];
    Field& some = fields[1];
    Field& many = fields[2];
    Samples calls;
    for (Rounds rounds("lines in bulk", plan.rounds); rounds.next();) {
        for (const Chunk& chunk : kChunks)
            for (Field& field : fields)
                field.measure(chunk, plan.lines / chunk.share);
        some.contest->inTurn([&](Rig& rig, auto side) {
            (calls.*side).push_back(systemCallsOf(rig.process().id(), plan.lines / 1000, [&] {
                rig.sendLines(some.values, plan.lines, kUsualChunk);
            }));
        });
    }
    addCpuRows(fields, some, report);
    report.add(
        {"CPU per set line, " + grouped(many.endpoints) + " endpoints against " + grouped(few.endpoints),
         "times", quotient(many.cpu[kUsualChunk], few.cpu[kUsualChunk]), Judged::driver, 1.5});
    report.add({"CPU per set line, 1 MiB chunks against 64 KiB", "times",
                quotient(some.cpu[kLargestChunk.bytes], some.cpu[kUsualChunk]), Judged::driver, 1.1});
    report.add({"System calls per 1,000 set lines in bulk", "calls", calls, Judged::driver, 5});
    report.add({"Growth of memory over " + grouped(plan.growthPasses * plan.lines) + " set lines", "KiB",
                measureGrowth(some, plan), Judged::driver, 0});
}

} // namespace hearthix::bench
