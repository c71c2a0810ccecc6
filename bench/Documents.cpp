// Measures loading and saving a document of units, compared with plain structs that contain the same tree.
#include "bench/Results.hpp"
#include "document/CXML.hpp"

#include <array>
#include <ctime>
#include <limits>
#include <stdexcept>
#include <string_view>

#include <malloc.h>

namespace hearthix::bench {

namespace {

// The lower limit of the cost: structs that can only represent this tree, two levels deep with six values in
// each unit, and a reader and a writer of its byte form. The reader checks lengths and keeps all keys and
// values of the file.
struct PlainDocument {
    std::vector<std::array<std::pair<std::string, std::string>, 6>> units;

    PlainDocument() = default;
    explicit PlainDocument(std::string_view bytes);
    std::string save() const;
};

constexpr std::string_view kHeader = "KbdbAL  ";

void writeText(std::string& out, std::string_view text) {
    const auto length = static_cast<std::uint32_t>(text.size());
    out.append(reinterpret_cast<const char*>(&length), sizeof length).append(text);
}

bool skip(std::string_view& in, std::string_view expected) {
    const bool good = in.starts_with(expected);
    in.remove_prefix(good ? expected.size() : 0);
    return good;
}

// Returns an empty text if the length is damaged.
std::string_view readText(std::string_view& in) {
    std::uint32_t length = 0;
    if (in.size() < sizeof length)
        return {};
    in.copy(reinterpret_cast<char*>(&length), sizeof length);
    const std::string_view text = in.substr(sizeof length, length);
    in.remove_prefix(sizeof length + text.size());
    return text;
}

std::string PlainDocument::save() const {
    std::string out(kHeader);
    for (const auto& unit : units) {
        out += 'O';
        writeText(out, "unit");
        out += kHeader;
        for (const auto& [key, text] : unit) {
            out += 'V';
            writeText(out, key);
            writeText(out, text);
        }
        out += 'E';
    }
    return out += 'E';
}

PlainDocument::PlainDocument(std::string_view bytes) {
    bool good = skip(bytes, kHeader);
    while (good && skip(bytes, "O")) {
        good = readText(bytes) == "unit" && skip(bytes, kHeader);
        for (auto& [key, text] : units.emplace_back()) {
            good = good && skip(bytes, "V");
            key = readText(bytes);
            text = readText(bytes);
        }
        good = good && skip(bytes, "E");
    }
    if (!good || bytes != "E")
        throw std::runtime_error("the plain structs can't read the document");
}

std::string textOf(std::size_t units) {
    PlainDocument document;
    for (std::size_t i = 0; i < units; ++i) {
        const std::string number = std::to_string(i);
        document.units.push_back({{{"Address", number + ".TEMP"},
                                   {"Name", "Temperature in room " + number},
                                   {"Value", std::to_string(i % 40) + ".5"},
                                   {"List", "My Sensors"},
                                   {"Changed", "2024-05-01 12:34:56"},
                                   {"Dimm", "true"}}});
    }
    return document.save();
}

// CPU milliseconds of an operation; its result is released outside of the measured time.
template <class Operation>
double cost(const Operation& operation) {
    const std::clock_t start = std::clock();
    const auto result = operation();
    return static_cast<double>(std::clock() - start) * 1000 / CLOCKS_PER_SEC;
}

} // namespace

void measureDocuments(Results& results, int rounds, std::size_t units) {
    // New memory from the system costs more than what is measured, so the heap keeps released memory.
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
    const std::string text = textOf(units);
    const String shared{std::string_view(text)};
    const auto load = [&] {
        auto document = Ref<CXML>::make();
        document->LoadFromBinaryStream(Ref<BinaryStream>::make(shared));
        return document;
    };
    const auto loadPlain = [&] { return PlainDocument(text); };
    const auto document = load();
    const PlainDocument plain = loadPlain();
    const auto save = [&] {
        auto block = Ref<MemoryBlock>::make();
        document->SaveToBinaryData(Ref<BinaryStream>::make(block));
        return block;
    };
    const auto savePlain = [&] { return plain.save(); };
    if (save()->toString().view() != text || savePlain() != text)
        throw std::runtime_error("the document and the plain structs differ");
    for (int round = 0; round < rounds; ++round) {
        results.add("Document, load", "ms", 1.6, {cost(load), cost(loadPlain)});
        results.add("Document, save", "ms", 1.6, {cost(save), cost(savePlain)});
    }
}

} // namespace hearthix::bench
