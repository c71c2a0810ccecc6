#include "sim/inspect/Findings.hpp"

#include "gateway/NodeIds.hpp"
#include "mysensors/Vocabulary.hpp"
#include "runtime/text/Numbers.hpp"
#include "sim/inspect/Names.hpp"
#include "sim/Mesh.hpp"

#include <algorithm>
#include <array>
#include <set>

namespace hearthix::sim {

namespace {

enum Kind : std::size_t {
    wrongSpeed,
    unreadable,
    silence20,
    silence10,
    gatewayRestart,
    radioFailed,
    sharedId,
    assignedTwice,
    noFreeId,
    idRefused,
    garbledUnit,
    childBattery,
    noValue,
    unnamedType,
    otherType,
    nodeSilent,
    sendFailed,
    parentLost,
    kindCount
};

constexpr std::array<FindingKind, kindCount> kKinds{
    {{"wrong-speed",
      "{junk} of {bytes} bytes from the gateway are junk, {nuls} of them NULs: it has another speed.",
      "Build the gateway with MY_BAUD_RATE 115200, or put ser2net with the gateway's speed between it and "
      "the "
      "driver.",
      false},
     {"unreadable", "{count} no messages of a mesh, first line {line}: {text}",
      "Keep debug output off the gateway's line, and check its cable and its power supply.", false},
     {"silence-20", "The gateway was silent for more than 20 seconds {count}, which ends the driver.",
      "Check the gateway's power supply, cable and network, and whether its program hangs.", false},
     {"silence-10", "The gateway was silent for more than 10 seconds {count}, the longest for {seconds} s.",
      "Check the gateway's cable and network, because it should answer the driver's question at once.",
      false},
     {"gateway-restart", "The gateway started again {count}, first in line {line}.",
      "Check the gateway's power supply, and whether another program opens its port.", false},
     {"radio-failed", "The gateway's radio failed {count}.",
      "Check the wiring and the power supply of the gateway's radio.", false},
     {"shared-id", "Two nodes seem to use the ID {node}: {reasons}.",
      "Clear the EEPROM of one of the two nodes or give it another MY_NODE_ID, and restart it.", false},
     {"assigned-twice", "The driver assigned the ID {node} to {count} nodes, the last time in line {line}.",
      "Clear the EEPROM of the node that asked last, and restart it after the other one has sent a value.",
      false},
     {"no-free-id", "New nodes get no ID while the host has these units: {addresses}.",
      "Delete the units of nodes that are gone in the order of this list, until a new node gets its ID.",
      false},
     {"id-refused", "A node asked for an ID and got none {count}, the last time in line {line}.",
      "Look for \"all slots are full\" in the driver's log, and delete the units of nodes that are gone.",
      true},
     {"garbled-unit", "The unit {address} probably comes from a garbled line: {reason}.",
      "Delete the unit in the host, and check the cable and the power supply of the gateway.", false},
     {"child-battery",
      "Node {node} sent a battery level as child {child}, which ends the driver if it does not know the "
      "node.",
      "Let the sketch report its battery with sendBatteryLevel, which sends it as child 255.", false},
     {"no-value",
      "Node {node} presented child {child}, {type}, and never sent a value: a unit comes with the first "
      "value.",
      "Let the sketch send the child's state once when it starts, or create the unit in the host by hand.",
      true},
     {"unnamed-type", "The unit {address} has the type {number}, for which the driver has no name.",
      "Let the sketch use a type up to 45, such as V_VAR1, because commands to this unit have the type -1.",
      false},
     {"other-type", "Commands to the unit {address} reach the node as {name}, not as {name}.",
      "Let the sketch obey V_PERCENTAGE or V_STATUS for a cover, and V_VAR1 for a scene or an infrared code.",
      false},
     {"node-silent", "Node {node} reported every {seconds} s and has been silent for the last {seconds} s.",
      "Check the battery of the node, and its distance to the gateway or to a repeater.", true},
     {"send-failed", "{count} of {count} transmissions between the gateway and node {node} failed.",
      "Move the node closer to the gateway or put a repeater between them.", false},
     {"parent-lost", "Node {node} lost its parent {count}.",
      "Move the node closer to its repeater or to the gateway, and check the repeater's power supply.",
      false}}};

std::string filled(std::string_view pattern, const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        const std::size_t start = pattern.find('{');
        text.append(pattern.substr(0, start)).append(word);
        pattern.remove_prefix(pattern.find('}') + 1);
    }
    return text.append(pattern);
}

std::string wordOf(const std::string& text) {
    return text;
}
std::string wordOf(Integer number) {
    return std::to_string(number);
}

std::string times(Integer count) {
    return count == 1 ? "once" : std::to_string(count) + " times";
}

Integer seconds(Integer milliseconds) {
    return (milliseconds + 500) / 1000;
}

std::string unitOf(Integer node, Integer child, Integer type) {
    return std::string(unitAddress(node, child, type).view());
}

// The line, node, child or unit that a finding concerns.
struct Subject {
    Integer line = 0, node = -1, child = -1;
    std::string address = {};
};

class Finder {
public:
    Finder(const MeshModel& mesh, const RecordingReader& recording) : mesh_(mesh), recording_(recording) {}

    std::vector<Finding> run() {
        findOnLine();
        for (const auto& [id, node] : mesh_.nodes) {
            findInNode(id, node);
            for (const auto& [number, child] : node.children)
                findInChild(id, number, child);
        }
        findAboutIds();
        findGarbledLines();
        std::stable_sort(found_.begin(), found_.end(),
                         [](const Finding& left, const Finding& right) { return left.kind < right.kind; });
        return std::move(found_);
    }

private:
    template <class... Words>
    void add(Kind kind, const Subject& subject, const Words&... words) {
        const FindingKind& entry = kKinds.at(kind);
        found_.push_back({&entry, filled(entry.text, {wordOf(words)...}), subject.line, subject.node,
                          subject.child, subject.address});
    }

    // Whether the recording shows a driver, which asks a silent gateway for its version.
    bool hasDriver() const { return recording_.hasDirections() || mesh_.driverLines.versions > 0; }
    bool isMixed() const { return mesh_.isLoose && mesh_.fromDriver > 0; }
    bool isWrongSpeed() const;
    void findOnLine();
    void findInNode(Integer id, const Node& node);
    void findSilence(Integer id, const Node& node);
    void findSharedId(Integer id, const Node& node);
    void findInChild(Integer id, Integer number, const Child& child);
    void findInVariable(Integer id, Integer number, Integer type, const Variable& variable, bool isPresented);
    void findAboutIds();
    void findBlockers();
    void findGarbledLines();
    std::map<Integer, std::set<std::string>> unitsByNode() const;

    const MeshModel& mesh_;
    const RecordingReader& recording_;
    std::vector<Finding> found_;
};

// A few strange bytes are noise, and the bytes before the first message may come from a boot loader.
bool Finder::isWrongSpeed() const {
    constexpr Integer kLongestBoot = 1000;
    constexpr Integer kFewest = 20;
    const bool isBoot = mesh_.good >= 10 && mesh_.junkAtStart < kLongestBoot;
    const Integer junk = mesh_.junk - (isBoot ? mesh_.junkAtStart : 0);
    return mesh_.good == 0 ? mesh_.junk > 0 : junk >= kFewest && junk * 20 >= mesh_.bytes;
}

void Finder::findOnLine() {
    constexpr Integer kPatience = 12'000; // when the driver asks, plus time for the answer
    constexpr Integer kEnd = 22'000;
    const auto& silences = mesh_.silences;
    if (isWrongSpeed())
        add(wrongSpeed, {}, mesh_.junk, mesh_.bytes, mesh_.nuls);
    const Integer atEnd = mesh_.silenceAtEnd();
    const Integer over20 = silences.over20 + (atEnd > kEnd ? 1 : 0);
    const Integer late = silences.late + (atEnd > kPatience && atEnd <= kEnd ? 1 : 0);
    if (hasDriver() && over20 > 0)
        add(silence20, {silences.longestLine}, times(over20));
    if (hasDriver() && late > 0)
        add(silence10, {silences.longestLine}, times(late), seconds(std::max(silences.longest, atEnd)));
    if (mesh_.restarts > 0)
        add(gatewayRestart, {mesh_.firstRestart}, times(mesh_.restarts), mesh_.firstRestart);
    if (mesh_.radioFailures > 0)
        add(radioFailed, {}, times(mesh_.radioFailures));
}

void Finder::findInNode(Integer id, const Node& node) {
    findSharedId(id, node);
    findSilence(id, node);
    // A radio link that loses less than one in fifty transmissions is good.
    if (node.failed * 50 >= std::max<Integer>(node.sent, 1))
        add(sendFailed, {0, id}, node.failed, node.sent, id);
    if (node.lostParents > 0)
        add(parentLost, {0, id}, id, times(node.lostParents));
}

// Only a node that reports regularly can be found silent.
void Finder::findSilence(Integer id, const Node& node) {
    constexpr Integer kFewest = 4;
    constexpr Integer kShortest = 30'000;
    const Rhythm& rhythm = node.rhythm;
    const Integer silence = mesh_.lastAt - node.lastAt;
    if (node.lastAt < 0 || rhythm.count < kFewest || rhythm.longest * rhythm.count > 4 * rhythm.sum ||
        silence < std::max(5 * rhythm.longest, kShortest))
        return;
    add(nodeSilent, {node.lastLine, id}, id, seconds(rhythm.sum / rhythm.count), seconds(silence));
}

void Finder::findSharedId(Integer id, const Node& node) {
    std::string reasons;
    const auto note = [&reasons](const char* what, const std::vector<std::string>& texts) {
        reasons += reasons.empty() ? "" : ", ";
        reasons += what;
        for (const std::string& each : texts)
            reasons += (&each == texts.data() ? " \"" : " and \"") + each + "\"";
    };
    const bool isNew = node.getsFirmware;
    if (node.sketch.isOfTwo(isNew))
        note("the sketches", node.sketch.texts);
    if (node.version.isOfTwo(isNew))
        note("the sketch versions", node.version.texts);
    if (node.library.isOfTwo(isNew))
        note("the MySensors versions", node.library.texts);
    for (const auto& [number, child] : node.children) {
        if (!child.types.isOfTwo(isNew))
            continue;
        std::vector<std::string> names;
        for (const std::string& each : child.types.texts)
            names.push_back(presentedName(each));
        note(("child " + std::to_string(number) + " presented as").c_str(), names);
    }
    if (!reasons.empty())
        add(sharedId, {node.lastLine, id}, id, reasons);
}

void Finder::findInChild(Integer id, Integer number, const Child& child) {
    constexpr Integer kPatience = 10'000;
    const bool isAsked = std::any_of(child.variables.begin(), child.variables.end(),
                                     [](const auto& each) { return each.second.commands > 0; });
    const bool isNew = child.at >= 0 && mesh_.lastAt - child.at < kPatience;
    if (child.presentations > 0 && !child.hasValue() && !isAsked && !isNew)
        add(noValue, {child.line, id, number, addressOf(id, number)}, id, number,
            presentedName(child.types.text()));
    if (number == mySensors::kNodeLevelChild)
        return;
    for (const auto& [type, variable] : child.variables)
        findInVariable(id, number, type, variable, child.presentations > 0);
}

void Finder::findInVariable(Integer id, Integer number, Integer type, const Variable& variable,
                            bool isPresented) {
    constexpr Integer kIrSend = 32, kIrReceive = 33;
    const Subject subject{variable.line, id, number, unitOf(id, number, type)};
    const Integer commanded = mySensors::SuffixToVarType(mySensors::varTypeToSuffix(type));
    if (variable.values == 1 && variable.isNearJunk && !isMixed() && !isPresented && variable.commands == 0)
        add(garbledUnit, subject, subject.address,
            "line " + std::to_string(variable.line) +
                " is its only one, it was never presented, and junk is next to it");
    else if (!isNamedType(type) && variable.values > 0)
        add(unnamedType, subject, subject.address, std::to_string(type) + " (" + protocolName(type) + ")");
    else if (commanded >= 0 && (commanded != type || type == kIrReceive))
        add(otherType, subject, subject.address, protocolName(commanded),
            protocolName(type == kIrReceive ? kIrSend : type));
}

void Finder::findAboutIds() {
    for (const auto& [id, made] : mesh_.assignments)
        if (made.times > 1)
            add(assignedTwice, {made.latest, id}, id, made.times, made.latest);
    if (mesh_.openIdRequests > 0 && (recording_.hasDirections() || !mesh_.assignments.empty()) &&
        recording_.lines() > mesh_.lastIdRequest + 5)
        add(idRefused, {mesh_.lastIdRequest}, times(mesh_.openIdRequests), mesh_.lastIdRequest);
    findBlockers();
    for (const auto& [root, line] : mesh_.fatalBatteries) {
        const Integer node = ValInteger("&h" + root.substr(0, 2)), child = ValInteger("&h" + root.substr(2));
        add(childBattery, {line, node, child, root}, node, child);
    }
}

// Calls the driver's own function repeatedly, each time without the units of the highest node, until it finds
// a free ID.
void Finder::findBlockers() {
    constexpr Integer kHighestPlain = 253;
    std::map<Integer, std::set<std::string>> units = unitsByNode();
    std::string list;
    while (!units.empty() && units.rbegin()->first >= kHighestPlain) {
        CXML document;
        for (const auto& [node, addresses] : units) {
            const auto unit = Ref<CXML>::make();
            unit->Name = "unit";
            unit->SetStringValue("Address", String(std::string_view(*addresses.begin())));
            document.InsertContainer(unit);
        }
        if (mySensors::chooseNodeId(document) < mySensors::kNoIdLeft)
            break;
        for (const std::string& each : units.rbegin()->second)
            list += (list.empty() ? "" : ", ") + each;
        units.erase(std::prev(units.end()));
    }
    if (!list.empty())
        add(noFreeId, {}, list);
}

std::map<Integer, std::set<std::string>> Finder::unitsByNode() const {
    std::map<Integer, std::set<std::string>> units;
    for (const auto& [id, node] : mesh_.nodes)
        for (const auto& [number, child] : node.children)
            for (const auto& [type, variable] : child.variables)
                if (variable.values > 0 && number != mySensors::kNodeLevelChild)
                    units[id].insert(unitOf(id, number, type));
    for (const DamagedLine& each : mesh_.damaged)
        if (!each.address.empty())
            units[ValInteger("&h" + each.address.substr(0, 2))].insert(each.address);
    return units;
}

// If a recording mixes the bytes of both directions, the mixing itself breaks some lines.
void Finder::findGarbledLines() {
    constexpr Integer kMixedPercent = 2;
    std::set<std::string> good;
    for (const auto& [id, node] : mesh_.nodes)
        for (const auto& [number, child] : node.children)
            for (const auto& [type, variable] : child.variables)
                good.insert(unitOf(id, number, type));
    Integer others = mesh_.malformed + mesh_.damagedCount;
    Integer first = mesh_.firstMalformed;
    std::string text;
    for (const DamagedLine& each : mesh_.damaged) {
        if (isMixed())
            continue;
        if (!each.address.empty() && good.insert(each.address).second) {
            --others;
            add(garbledUnit, {each.number, -1, -1, each.address}, each.address,
                "line " + std::to_string(each.number) + " is " + each.text);
        } else if (first == 0 || each.number < first) {
            first = each.number;
            text = each.text;
        }
    }
    const bool isMuch = !isMixed() || others * 100 > kMixedPercent * mesh_.fromGateway;
    if (others > 0 && isMuch && !isWrongSpeed())
        add(unreadable, {first}, others == 1 ? "1 line is" : std::to_string(others) + " lines are", first,
            first == mesh_.firstMalformed ? mesh_.malformedText : text);
}

} // namespace

std::vector<Finding> findingsOf(const MeshModel& mesh, const RecordingReader& recording) {
    return Finder(mesh, recording).run();
}

std::span<const FindingKind> findingKinds() {
    return kKinds;
}

} // namespace hearthix::sim
