#include "sim/Mesh.hpp"

#include "mysensors/VarTypeConverter.hpp"
#include "mysensors/Vocabulary.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

namespace hearthix::sim {

namespace {

constexpr Integer kNever = INT64_MAX;
constexpr Integer kAskAgainMilliseconds = 5000;
constexpr Integer kHighestId = 254;
constexpr const char* kLibraryVersion = "2.3.2";

// Internal messages that the driver ignores.
constexpr Integer kGiveId = 4;
constexpr Integer kReboot = 13;

String lineOf(Integer node, Integer child, Integer type, Integer subType, const String& payload) {
    return concat(Str(node), ";", Str(child), ";", Str(type), ";0;", Str(subType), ";", payload);
}

String internalLine(Integer node, Integer subType, const String& payload) {
    return lineOf(node, mySensors::kNodeLevelChild, mySensors::kInternal, subType, payload);
}

// The type that a child presents, by the variable that it reports, 0 to 23; above that a custom sensor.
Integer presentationOf(const MeshChild& child) {
    constexpr Integer kCustom = 23;
    static constexpr std::array<Integer, 24> kPresented{6,  7,  3,  4,  8, 23, 10, 23, 9,  23, 23, 11,
                                                        12, 15, 23, 23, 1, 13, 13, 23, 23, 23, 23, 16};
    const auto variable = static_cast<std::size_t>(child.variableType);
    return variable < kPresented.size() ? kPresented[variable] : kCustom;
}

String hexByte(Integer value) {
    return Right(concat("0", Hex(value & 0xFF)), 2);
}

MeshChild* childOf(MeshNode& node, Integer id, Integer variableType) {
    for (MeshChild& child : node.children)
        if (child.id == id && child.variableType == variableType)
            return &child;
    return nullptr;
}

bool obeys(const MeshChild& child) {
    return child.kind == MeshChild::Kind::toggle || child.kind == MeshChild::Kind::dimmer;
}

} // namespace

struct Mesh::Line {
    Integer node = 0;
    Integer child = 0;
    Integer type = 0;
    Integer subType = 0;
    String payload;
    bool good = false;

    explicit Line(const String& text) {
        const Array<String> fields = Split(text, ";");
        if (fields.Ubound() < 5)
            return;
        node = ValInteger(fields[0]);
        child = ValInteger(fields[1]);
        type = ValInteger(fields[2]);
        subType = ValInteger(fields[4]);
        payload = fields[5];
        good = true;
    }
};

String decimalText(double number, int decimals) {
    std::string mask = "0";
    if (decimals > 0)
        mask.append(".").append(static_cast<std::size_t>(decimals), '0');
    return Format(number, mask);
}

void ensureVocabulary() {
    if (mySensors::varTypeConverter.isNil())
        mySensors::createVarTypeConverter();
}

String unitAddress(Integer node, Integer child, Integer variableType) {
    ensureVocabulary();
    return concat(hexByte(node), hexByte(child), ".", mySensors::varTypeToSuffix(variableType));
}

bool isUnitAddress(const String& address) {
    ensureVocabulary();
    constexpr std::size_t kDigits = 4;
    const std::string_view text = address.view();
    const std::string_view root = text.substr(0, kDigits);
    const bool isRoot = text.size() > kDigits + 1 && text[kDigits] == '.' &&
                        root.find_first_not_of("0123456789ABCDEFabcdef") == std::string_view::npos;
    const String suffix = address.cut(kDigits + 1);
    const bool isUnknownType = suffix.size() == 7 && InStr(1, suffix, "UNKN") == 1;
    return isRoot && (isUnknownType || mySensors::SuffixToVarType(suffix) >= 0);
}

Mesh::Mesh(std::vector<MeshNode> nodes, unsigned seed) : nodes_(std::move(nodes)), random_(seed) {
}

void Mesh::restart(Integer now) {
    for (MeshNode& node : nodes_) {
        node.started = false;
        node.askDue = now;
    }
}

std::vector<String> Mesh::due(Integer now) {
    std::vector<String> lines;
    for (MeshNode& node : nodes_) {
        if (node.id == MeshNode::kNoId) {
            if (node.askDue > now)
                continue;
            lines.push_back(internalLine(MeshNode::kNoId, mySensors::kIdRequest, String()));
            node.askDue = now + kAskAgainMilliseconds;
        } else if (!node.started) {
            start(node, now, lines);
        } else {
            speak(node, now, lines);
        }
    }
    return lines;
}

Integer Mesh::nextDue() const {
    Integer next = kNever;
    for (const MeshNode& node : nodes_) {
        if (node.id == MeshNode::kNoId) {
            next = std::min(next, node.askDue);
            continue;
        }
        if (!node.started)
            return 0;
        if (node.battery >= 0)
            next = std::min(next, node.batteryDue);
        for (const MeshChild& child : node.children)
            if (child.every > 0)
                next = std::min(next, child.due);
    }
    return next;
}

void Mesh::start(MeshNode& node, Integer now, std::vector<String>& lines) {
    node.started = true;
    lines.push_back(
        lineOf(node.id, mySensors::kNodeLevelChild, mySensors::kPresentation, 17, kLibraryVersion));
    lines.push_back(internalLine(node.id, mySensors::kSketchName, node.name));
    lines.push_back(internalLine(node.id, mySensors::kSketchVersion, "1.0"));
    for (const MeshChild& child : node.children)
        lines.push_back(
            lineOf(node.id, child.id, mySensors::kPresentation, presentationOf(child), node.name));
    if (node.asksConfig)
        lines.push_back(internalLine(node.id, mySensors::kConfig, "0"));
    if (node.asksTime)
        lines.push_back(internalLine(node.id, mySensors::kTime, String()));
    for (MeshChild& child : node.children) {
        lines.push_back(report(node, child));
        // The first interval is cut at random, so that the nodes don't all speak at once.
        child.due = now + random_.InRange(child.every / 2, child.every);
    }
    if (node.battery >= 0)
        reportBattery(node, now, lines);
}

void Mesh::speak(MeshNode& node, Integer now, std::vector<String>& lines) {
    for (MeshChild& child : node.children) {
        if (child.every <= 0 || child.due > now)
            continue;
        wander(child);
        lines.push_back(report(node, child));
        child.due = now + child.every;
    }
    if (node.battery >= 0 && node.batteryDue <= now) {
        node.battery = node.battery > 1 ? node.battery - 1 : 100;
        reportBattery(node, now, lines);
    }
}

void Mesh::reportBattery(MeshNode& node, Integer now, std::vector<String>& lines) {
    lines.push_back(internalLine(node.id, mySensors::kBatteryLevel, Str(node.battery)));
    node.batteryDue = now + node.batteryEvery;
}

String Mesh::report(const MeshNode& node, const MeshChild& child) const {
    return lineOf(node.id, child.id, mySensors::kSet, child.variableType, child.value);
}

// Changes the value by up to a tenth of the range, but at least by up to one step.
void Mesh::wander(MeshChild& child) {
    if (child.kind != MeshChild::Kind::sensor)
        return;
    Integer scale = 1;
    for (int i = 0; i < child.decimals; ++i)
        scale *= 10;
    const Integer low = toInteger(child.low * static_cast<double>(scale));
    const Integer high = toInteger(child.high * static_cast<double>(scale));
    const Integer step = std::max<Integer>((high - low) / 10, 1);
    const Integer present = toInteger(Val(child.value) * static_cast<double>(scale));
    const Integer next = std::clamp(present + random_.InRange(-step, step), low, high);
    child.value = decimalText(static_cast<double>(next) / static_cast<double>(scale), child.decimals);
}

String Mesh::nextReport() {
    std::vector<std::pair<MeshNode*, MeshChild*>> reporters;
    for (MeshNode& node : nodes_)
        for (MeshChild& child : node.children)
            if (node.started && !obeys(child))
                reporters.emplace_back(&node, &child);
    if (reporters.empty())
        return {};
    const auto [node, child] = reporters[nextReporter_++ % reporters.size()];
    wander(*child);
    return report(*node, *child);
}

MeshNode* Mesh::nodeOf(Integer id) {
    const auto found =
        std::find_if(nodes_.begin(), nodes_.end(), [id](const MeshNode& each) { return each.id == id; });
    return found == nodes_.end() ? nullptr : &*found;
}

std::vector<String> Mesh::answer(const String& text, Integer now) {
    std::vector<String> lines;
    const Line line(text);
    if (!line.good)
        ++counts_.ignored;
    else if (line.type == mySensors::kInternal)
        answerInternal(line, now, lines);
    else
        answerChild(line, lines);
    return lines;
}

void Mesh::answerInternal(const Line& line, Integer now, std::vector<String>& lines) {
    MeshNode* node = nodeOf(line.node);
    if (line.node == 0 && line.subType == mySensors::kVersion) {
        ++counts_.versions;
        lines.push_back(lineOf(0, 0, mySensors::kInternal, mySensors::kVersion, kLibraryVersion));
    } else if (line.subType == kGiveId && line.node == MeshNode::kNoId) {
        takeId(ValInteger(line.payload), now, lines);
    } else if (node != nullptr && line.subType == mySensors::kTime && ValInteger(line.payload) > 0) {
        ++counts_.times;
    } else if (node != nullptr && line.subType == mySensors::kConfig && !line.payload.empty()) {
        ++counts_.configs;
    } else if (node != nullptr && line.subType == kReboot && node->id != MeshNode::kNoId) {
        start(*node, now, lines);
    } else {
        ++counts_.ignored;
    }
}

void Mesh::takeId(Integer id, Integer now, std::vector<String>& lines) {
    MeshNode* waiting = nodeOf(MeshNode::kNoId);
    if (waiting == nullptr || id < 1 || id > kHighestId || nodeOf(id) != nullptr) {
        ++counts_.ignored;
        return;
    }
    ++counts_.ids;
    waiting->id = id;
    start(*waiting, now, lines);
}

void Mesh::answerChild(const Line& line, std::vector<String>& lines) {
    MeshNode* node = nodeOf(line.node);
    MeshChild* child = node != nullptr ? childOf(*node, line.child, line.subType) : nullptr;
    if (child != nullptr && line.type == mySensors::kSet && obeys(*child) && IsNumeric(line.payload)) {
        const double highest = child->kind == MeshChild::Kind::toggle ? 1 : 100;
        child->value = Str(std::clamp(Val(line.payload), 0.0, highest));
        ++counts_.obeyed;
        lines.push_back(report(*node, *child));
    } else if (child != nullptr && line.type == mySensors::kRequest) {
        ++counts_.answered;
        lines.push_back(report(*node, *child));
    } else {
        ++counts_.ignored;
    }
}

} // namespace hearthix::sim
