// What is measured without sockets: a set line, and documents beside plain structs that hold the same tree.
#include "document/CXML.hpp"
#include "endpoints/cMSEndpoint.hpp"
#include "gateway/cMySensors.hpp"
#include "hostlink/cHearthixDeviceSocket.hpp"
#include "mysensors/VarTypeConverter.hpp"
#include "PlainDocument.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "shell/log/Globals.hpp"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <numeric>
#include <random>

#include <malloc.h>

namespace hearthix::bench {

namespace {

using benchmark::DoNotOptimize;
using benchmark::State;

constexpr int kUnits = 100'000;

String address(Integer number) {
    return Right(String("0000") + Hex(number), 4);
}

// A set line from the port to a packet that nobody takes, endpoints visited at random.
void handleLine(State& state) {
    Globals::gMySensors = Ref<cMySensors>::make();
    mySensors::AddressIndex = Ref<mySensors::AddressTable>::make();
    HearthixSupport::logToHost();
    HearthixSupport::HearthixSocket = Ref<cHearthixDeviceSocket>::make([](const Ref<cHearthixCommand>&) {});
    std::vector<String> chunks;
    std::vector<Integer> places(static_cast<std::size_t>(state.range(0)));
    std::iota(places.begin(), places.end(), 0);
    constexpr Integer kChunkLines = 1000;
    std::mt19937 random;
    for (Integer pass = 0; pass * state.range(0) < 10 * kChunkLines || pass < 2; ++pass) {
        for (std::size_t i = 0; i < places.size(); ++i) {
            if (i % kChunkLines == 0)
                chunks.emplace_back();
            chunks.back() += concat(Str(places[i] / 255), ";", Str(places[i] % 255), ";1;0;0;21.5\n");
        }
        std::shuffle(places.begin(), places.end(), random);
    }
    for (const String& chunk : chunks)
        Globals::gMySensors->PortDataAvailable(chunk);
    const Integer lines = std::min(kChunkLines, state.range(0));
    std::size_t next = 0;
    while (state.KeepRunningBatch(lines)) {
        Globals::gMySensors->PortDataAvailable(chunks[next]);
        next = next + 1 < chunks.size() ? next + 1 : 0;
    }
}

PlainDocument plainDocument() {
    PlainDocument document;
    document.units.reserve(kUnits);
    for (int i = 0; i < kUnits; ++i) {
        const std::string root(address(i % 65536).view());
        const std::string number = std::to_string(i);
        document.units.push_back({{{"Address", root + ".TEMP"},
                                   {"Name", "Temperature in room " + number},
                                   {"Value", std::to_string(i % 400 / 10) + "." + std::to_string(i % 10)},
                                   {"List", "My Sensors"},
                                   {"Changed", "2024-05-01 12:34:56"},
                                   {"Dimm", "true"}}});
    }
    return document;
}

std::size_t heapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// Bytes that a document holds once what it was read from is gone.
template <class Load>
double heapOf(const Load& load) {
    const std::size_t before = heapInUse();
    const auto document = load(plainDocument().save());
    return static_cast<double>(heapInUse() - before);
}

Ref<CXML> loadDocument(const String& text) {
    auto document = Ref<CXML>::make();
    document->LoadFromBinaryStream(Ref<BinaryStream>::make(text));
    return document;
}

PlainDocument loadPlain(std::string_view text) {
    PlainDocument document;
    if (!document.load(text))
        std::abort();
    return document;
}

// Runs an operation whose result is thrown away outside of the measured time.
template <class Operation>
void runAndDrop(State& state, const Operation& operation) {
    for (auto _ : state) {
        auto result = operation();
        DoNotOptimize(result);
        state.PauseTiming();
        result = {};
        state.ResumeTiming();
    }
}

void registerDocuments() {
    const auto add = [](const char* name, auto operation) {
        benchmark::RegisterBenchmark(name, [operation](State& state) {
            runAndDrop(state, operation);
        })->Unit(benchmark::kMillisecond);
    };
    static const std::string text = plainDocument().save();
    static const PlainDocument plain = loadPlain(text);
    static const String shared{std::string_view(text)};
    static const Ref<CXML> document = loadDocument(shared);
    const auto save = [] {
        auto block = Ref<MemoryBlock>::make();
        document->SaveToBinaryData(Ref<BinaryStream>::make(block));
        return block;
    };
    if (save()->toString().view() != text) {
        std::fputs("bench_parts: the document and the plain structs do not hold the same\n", stderr);
        std::exit(1);
    }
    add("document/save", save);
    add("plain/save", [] { return plain.save(); });
    add("document/clone", [] { return document->Clone(); });
    add("plain/clone", [] { return PlainDocument(plain); });
    static const double bytes =
        heapOf([](const std::string& from) { return loadDocument(String(std::string_view(from))); });
    static const double plainBytes = heapOf([](const std::string& from) {
        auto loaded = loadPlain(from);
        loaded.units.shrink_to_fit();
        return loaded;
    });
    const auto addLoad = [](const char* name, const double& held, auto operation) {
        benchmark::RegisterBenchmark(name, [&held, operation](State& state) {
            runAndDrop(state, operation);
            state.counters["bytes"] = held;
        })->Unit(benchmark::kMillisecond);
    };
    addLoad("document/load", bytes, [] { return loadDocument(shared); });
    addLoad("plain/load", plainBytes, [] { return loadPlain(text); });
}

BENCHMARK(handleLine)->Name("handle a set line, endpoints")->Arg(10)->Arg(65025);

// Memory that the system gives anew costs more than all that is measured here. Whether the heap gives any
// back between two turns depends on what ran before, so here it never does.
void keepAllMemory() {
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
}

int benchParts(int argc, char** argv) {
    keepAllMemory();
    mySensors::createVarTypeConverter();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    registerDocuments();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

} // namespace

} // namespace hearthix::bench

int main(int argc, char** argv) {
    return hearthix::bench::benchParts(argc, argv);
}
