#include "sim/MeshFile.hpp"

#include "mysensors/Vocabulary.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "sim/Failure.hpp"
#include "sim/InputFile.hpp"

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <string>

#include <toml++/toml.h>

namespace hearthix::sim {

const char* const kMeshExample = R"(A mesh file is written in TOML:

  [[node]]
  id = 10                   # 1 to 254; a node without an ID asks the controller
  name = "Roof room"
  battery = 95              # per cent, falling; a node without this has mains power
  battery-every = 60        # seconds
  asks = ["config", "time"] # what it asks for when it starts
  child = [
    {id = 0, type = "TEMP", low = 15.0, high = 25.0, every = 2},
    {id = 1, type = "VAR1", text = "day rate"},
    {id = 2, type = "STATUS"},  # obeys, like a switch
    {id = 3, type = "PERCENT"}, # obeys, like a dimmer
  ]
)";

namespace {

constexpr const char* kStandardMesh = R"(
[[node]]
id = 10
name = "Weather"
battery = 95
battery-every = 10
asks = ["config"]
child = [
  {id = 0, type = "TEMP", low = 15.0, high = 25.0, every = 1},
  {id = 1, type = "HUM", low = 30, high = 70, every = 2},
  {id = 2, type = "PRESSURE", low = 980, high = 1040, every = 3},
]
[[node]]
id = 11
name = "Porch"
battery = 80
battery-every = 15
child = [
  {id = 1, type = "TRIP", low = 0, high = 1, every = 2},
  {id = 2, type = "LIGHT", low = 0, high = 100, every = 2},
]
[[node]]
id = 12
name = "Living room"
asks = ["time"]
child = [{id = 1, type = "STATUS"}, {id = 2, type = "PERCENT"}]
[[node]]
id = 13
name = "Meter"
child = [
  {id = 1, type = "WATTS", low = 100, high = 2400, every = 1},
  {id = 2, type = "KWH", low = 1200.0, high = 1300.0, every = 5},
  {id = 3, type = "VAR1", text = "day rate", every = 10},
]
[[node]]
name = "Cellar"
asks = ["config"]
child = [{id = 0, type = "TEMP", low = 8.0, high = 14.0, every = 2}, {id = 1, type = "STATUS"}]
)";

constexpr double kLongestEvery = 86'400;
constexpr double kLargest = 1e9;
constexpr int kMostDecimals = 4;

String stringOf(std::string_view text) {
    return String(text, TextEncoding::utf8);
}

// A table of the file. Faults are reported with the file's name, the line and the column.
class Reader {
public:
    // Refuses all other keys.
    Reader(const String& file, const toml::node& node, std::initializer_list<std::string_view> keys)
        : file_(file), node_(node) {
        if (!node.is_table())
            fail(node.source(), "this is not a table; hearthix-sim gateway --help shows an example");
        for (const auto& [key, value] : table())
            if (std::find(keys.begin(), keys.end(), key.str()) == keys.end())
                fail(key.source(), concat("the key '", stringOf(key.str()),
                                          "' is unknown here; hearthix-sim gateway --help shows all keys"));
    }
    [[noreturn]] static void fail(const String& file, const toml::source_region& at, const String& reason) {
        throw Failure{
            concat(file, ":", Str(Integer{at.begin.line}), ":", Str(Integer{at.begin.column}), ": ", reason)};
    }
    [[noreturn]] void fail(const toml::source_region& at, const String& reason) const {
        fail(file_, at, reason);
    }
    [[noreturn]] void fail(const char* key, const String& reason) const {
        fail(table().contains(key) ? table().get(key)->source() : node_.source(), reason);
    }
    bool has(const char* key) const { return table().contains(key); }
    double number(const char* key, double lowest, double highest) const {
        const std::optional<double> value = table()[key].value<double>();
        if (!value || !(*value >= lowest && *value <= highest))
            fail(key, concat(key, " must be a number from ", Str(lowest), " to ", Str(highest)));
        return *value;
    }
    Integer whole(const char* key, Integer lowest, Integer highest) const {
        const std::optional<Integer> value = table()[key].value<Integer>();
        if (!value || *value < lowest || *value > highest)
            fail(key, concat(key, " must be a whole number from ", Str(lowest), " to ", Str(highest)));
        return *value;
    }
    Integer milliseconds(const char* key, Integer fallback) const {
        return has(key) ? toInteger(number(key, 0.01, kLongestEvery) * 1000) : fallback;
    }
    // Replaces the characters that end a field or a line of the gateway.
    String text(const char* key) const {
        const std::optional<std::string> value = table()[key].value<std::string>();
        if (!value)
            fail(key, concat(key, " must be a text in quotes"));
        return ReplaceAll(ReplaceAll(stringOf(*value), ";", ","), "\n", " ");
    }
    template <class Take>
    void each(const char* key, const Take& take) const {
        if (!has(key))
            return;
        const toml::array* list = table()[key].as_array();
        if (list == nullptr)
            fail(key, concat(key, " must be a list"));
        for (const toml::node& element : *list)
            take(element);
    }
    const String& file() const { return file_; }

private:
    const toml::table& table() const { return *node_.as_table(); }

    const String& file_;
    const toml::node& node_;
};

int decimalsOf(double number) {
    int decimals = 1;
    while (decimals < kMostDecimals && Val(decimalText(number, decimals)) != number)
        ++decimals;
    return decimals;
}

MeshChild childFrom(const String& file, const toml::node& node) {
    const Reader reader(file, node, {"id", "type", "low", "high", "text", "every"});
    MeshChild child;
    child.id = reader.whole("id", 0, 254);
    child.variableType = mySensors::SuffixToVarType(reader.text("type"));
    if (child.variableType < 0)
        reader.fail("type", "this type is unknown; hearthix-sim types lists all");
    child.every = reader.milliseconds("every", 5000);
    const String suffix = mySensors::varTypeToSuffix(child.variableType);
    if (reader.has("text")) {
        child.kind = MeshChild::Kind::text;
        child.value = reader.text("text");
    } else if (reader.has("low") || reader.has("high")) {
        child.low = reader.number("low", -kLargest, kLargest);
        child.high = reader.number("high", child.low, kLargest);
        child.decimals = node.as_table()->get("low")->is_integer() ? 0 : decimalsOf(child.low);
        child.value = decimalText((child.low + child.high) / 2, child.decimals);
    } else if (suffix == "STATUS" || suffix == "PERCENT") {
        child.kind = suffix == "STATUS" ? MeshChild::Kind::toggle : MeshChild::Kind::dimmer;
        child.value = "0";
        child.every = 0;
    } else {
        reader.fail("type", "only STATUS and PERCENT obey; others need low and high, or a text");
    }
    return child;
}

MeshNode nodeFrom(const String& file, const toml::node& node) {
    const Reader reader(file, node, {"id", "name", "battery", "battery-every", "asks", "child"});
    MeshNode fresh;
    if (reader.has("id"))
        fresh.id = reader.whole("id", 1, 254);
    fresh.name = reader.text("name");
    if (reader.has("battery"))
        fresh.battery = reader.whole("battery", 0, 100);
    fresh.batteryEvery = reader.milliseconds("battery-every", fresh.batteryEvery);
    reader.each("asks", [&](const toml::node& word) {
        const std::string what = word.value_or(std::string());
        if (what != "time" && what != "config")
            reader.fail(word.source(), R"(a node asks for "time" or "config")");
        (what == "time" ? fresh.asksTime : fresh.asksConfig) = true;
    });
    reader.each("child", [&](const toml::node& each) {
        const MeshChild child = childFrom(file, each);
        for (const MeshChild& other : fresh.children)
            if (other.id == child.id && other.variableType == child.variableType)
                reader.fail(each.source(), "the node has this child already");
        fresh.children.push_back(child);
    });
    return fresh;
}

} // namespace

std::vector<MeshNode> parseMesh(const String& text, const String& name) {
    ensureVocabulary();
    std::vector<MeshNode> nodes;
    try {
        const toml::table document = toml::parse(text.view());
        const Reader reader(name, document, {"node"});
        reader.each("node", [&](const toml::node& each) {
            const MeshNode node = nodeFrom(name, each);
            for (const MeshNode& other : nodes)
                if (node.id != MeshNode::kNoId && other.id == node.id)
                    reader.fail(each.source(), concat("there is a node ", Str(node.id), " already"));
            nodes.push_back(node);
        });
        if (nodes.empty())
            reader.fail(document.source(), "there is no [[node]]; hearthix-sim gateway --help shows one");
    } catch (const toml::parse_error& error) {
        Reader::fail(name, error.source(), stringOf(error.description()));
    }
    return nodes;
}

std::vector<MeshNode> loadMesh(const String& path) {
    if (path.empty())
        return parseMesh(kStandardMesh, "standard mesh");
    return parseMesh(stringOf(contentOf(path, "--mesh")), path);
}

} // namespace hearthix::sim
