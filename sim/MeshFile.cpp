#include "sim/MeshFile.hpp"

#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "sim/CommandLine.hpp"
#include "sim/InputFile.hpp"
#include "sim/Text.hpp"
#include "vocabulary/Vocabulary.hpp"

#include <algorithm>
#include <optional>
#include <string>

namespace hearthix::sim {

const char* const kMeshGrammar =
    "A mesh file holds one statement a line; \"#\" begins a comment, and a text with\n"
    "blanks stands in double quotes. Statements behind a node are about that node:\n"
    "  node ID|new NAME       ID is 1 to 254; a new node asks the controller for one\n"
    "  battery LEVEL [every SECONDS]\n"
    "  asks time|config\n"
    "  sensor CHILD TYPE LOW HIGH [every SECONDS]\n"
    "  text CHILD TYPE TEXT [every SECONDS]\n"
    "  switch CHILD\n"
    "  dimmer CHILD\n"
    "TYPE is the end of a unit's address: TEMP, HUM, TRIP, WATTS and so on.\n";

namespace {

constexpr const char* kStandardMesh = R"(
node 10 Weather
  battery 95 every 10
  asks config
  sensor 0 TEMP 15.0 25.0 every 1
  sensor 1 HUM 30 70 every 2
  sensor 2 PRESSURE 980 1040 every 3
node 11 Porch
  battery 80 every 15
  sensor 1 TRIP 0 1 every 2
  sensor 2 LIGHT 0 100 every 2
node 12 "Living room"
  asks time
  switch 1
  dimmer 2
node 13 Meter
  sensor 1 WATTS 100 2400 every 1
  sensor 2 KWH 1200.0 1300.0 every 5
  text 3 VAR1 "day rate" every 10
node new Cellar
  asks config
  sensor 0 TEMP 8.0 14.0 every 2
  switch 1
)";

constexpr Integer kStandardEvery = 5000;
constexpr double kLongestEvery = 86'400;

class Parser {
public:
    explicit Parser(const String& name) : name_(name) {}

    void statement(std::vector<String> words) {
        ++lineNumber_;
        if (words.empty())
            return;
        if (words[0] == "node")
            node(words);
        else if (nodes_.empty())
            fail("a node must come first: node ID NAME");
        else if (words[0] == "battery")
            battery(words);
        else if (words[0] == "asks")
            asks(words);
        else
            child(words);
    }
    std::vector<MeshNode> result() {
        if (nodes_.empty())
            throw Failure{concat(name_, ": there is no node in it; begin with: node ID NAME")};
        return std::move(nodes_);
    }

private:
    using Words = std::vector<String>;

    [[noreturn]] void fail(const String& reason) const {
        throw Failure{concat(name_, ":", Str(lineNumber_), ": ", reason)};
    }
    void expect(const Words& words, std::size_t count, const char* form) const {
        if (words.size() != count)
            fail(concat("write it as: ", form));
    }
    double number(const String& word, double lowest, double highest, const char* what) const {
        const double value = Val(word);
        if (!IsNumeric(word) || value < lowest || value > highest)
            fail(concat(what, " is a number from ", Str(lowest), " to ", Str(highest), ", not '", word, "'"));
        return value;
    }
    Integer whole(const String& word, Integer lowest, Integer highest, const char* what) const {
        const double value = number(word, static_cast<double>(lowest), static_cast<double>(highest), what);
        const Integer rounded = toInteger(value);
        if (static_cast<double>(rounded) != value)
            fail(concat(what, " is a whole number, not '", word, "'"));
        return rounded;
    }
    // Takes "every SECONDS" off the end.
    Integer every(Words& words) const {
        if (words.size() < 3 || words[words.size() - 2] != "every")
            return 0;
        const double seconds = number(words.back(), 0.01, kLongestEvery, "every");
        words.resize(words.size() - 2);
        return toInteger(seconds * 1000);
    }
    void node(const Words& words) {
        expect(words, 3, "node ID|new NAME");
        MeshNode fresh;
        if (words[1] != "new")
            fresh.id = whole(words[1], 1, 254, "a node's ID");
        const auto same = [&fresh](const MeshNode& each) { return each.id == fresh.id; };
        if (fresh.id != MeshNode::kNoId && std::any_of(nodes_.begin(), nodes_.end(), same))
            fail(concat("there is a node ", words[1], " already"));
        fresh.name = ReplaceAll(words[2], ";", ",");
        nodes_.push_back(fresh);
    }
    void battery(Words words) {
        const Integer interval = every(words);
        expect(words, 2, "battery LEVEL [every SECONDS]");
        nodes_.back().battery = whole(words[1], 0, 100, "a battery level");
        if (interval > 0)
            nodes_.back().batteryEvery = interval;
    }
    void asks(const Words& words) {
        expect(words, 2, "asks time|config");
        if (words[1] == "time")
            nodes_.back().asksTime = true;
        else if (words[1] == "config")
            nodes_.back().asksConfig = true;
        else
            fail("a node asks for time or config");
    }
    void child(Words words) {
        MeshChild fresh;
        const Integer interval = every(words);
        fresh.every = interval > 0 ? interval : kStandardEvery;
        if (words[0] == "switch" || words[0] == "dimmer")
            obedient(fresh, words);
        else if (words[0] == "sensor")
            sensor(fresh, words);
        else if (words[0] == "text")
            text(fresh, words);
        else
            fail(concat("there is no statement '", words[0],
                        "'; there are node, battery, asks, sensor, text, switch and dimmer"));
        const auto same = [&fresh](const MeshChild& each) {
            return each.id == fresh.id && each.variableType == fresh.variableType;
        };
        std::vector<MeshChild>& children = nodes_.back().children;
        if (std::any_of(children.begin(), children.end(), same))
            fail("the node has this child already");
        children.push_back(fresh);
    }
    void place(MeshChild& fresh, const String& id, const String& suffix) const {
        fresh.id = whole(id, 0, 254, "a child");
        fresh.variableType = mySensors::SuffixToVarType(suffix);
        if (fresh.variableType < 0)
            fail(concat("there is no type '", suffix, "'; TEMP, HUM, TRIP, LIGHT and WATTS are some"));
    }
    void obedient(MeshChild& fresh, const Words& words) const {
        const bool isSwitch = words[0] == "switch";
        expect(words, 2, isSwitch ? "switch CHILD" : "dimmer CHILD");
        place(fresh, words[1], isSwitch ? "STATUS" : "PERCENT");
        fresh.kind = isSwitch ? MeshChild::Kind::toggle : MeshChild::Kind::dimmer;
        fresh.value = "0";
        fresh.every = 0;
    }
    void sensor(MeshChild& fresh, const Words& words) const {
        expect(words, 5, "sensor CHILD TYPE LOW HIGH [every SECONDS]");
        place(fresh, words[1], words[2]);
        fresh.low = number(words[3], -1e9, 1e9, "a bound");
        fresh.high = number(words[4], -1e9, 1e9, "a bound");
        if (fresh.high < fresh.low)
            fail("the lower bound comes first");
        const std::string_view digits = words[3].view();
        const std::size_t point = digits.find('.');
        fresh.decimals = point == std::string_view::npos
                             ? 0
                             : static_cast<int>(std::min<std::size_t>(digits.size() - point - 1, 4));
        const double middle = (fresh.low + fresh.high) / 2;
        fresh.value = decimalText(middle, fresh.decimals);
    }
    void text(MeshChild& fresh, const Words& words) const {
        expect(words, 4, "text CHILD TYPE TEXT [every SECONDS]");
        place(fresh, words[1], words[2]);
        fresh.kind = MeshChild::Kind::text;
        fresh.value = ReplaceAll(words[3], ";", ",");
    }

    String name_;
    Integer lineNumber_ = 0;
    std::vector<MeshNode> nodes_;
};

} // namespace

std::vector<MeshNode> standardMesh() {
    return parseMesh(kStandardMesh, "standard mesh");
}

std::vector<MeshNode> parseMesh(const String& text, const String& name) {
    ensureVocabulary();
    Parser parser(name);
    for (const String& line : Split(text, "\n"))
        parser.statement(wordsOf(line.view(), "#"));
    return parser.result();
}

std::vector<MeshNode> loadMesh(const String& path) {
    const std::optional<std::string> text = contentOf(path);
    if (!text)
        throw Failure{concat("cannot read the mesh in ", path, "; name a readable file with --mesh FILE")};
    return parseMesh(String(*text, TextEncoding::utf8), path);
}

} // namespace hearthix::sim
