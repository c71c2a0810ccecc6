#include "sim/inspect/MeshModel.hpp"

#include "mysensors/VarTypeConverter.hpp"
#include "mysensors/Vocabulary.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "sim/inspect/RadioLog.hpp"
#include "sim/Mesh.hpp"
#include "sim/Text.hpp"

#include <algorithm>

namespace hearthix::sim {

namespace {

constexpr Integer kGateway = 0;
constexpr Integer kNoId = 255; // the address of a node without an ID
constexpr std::size_t kMostStatements = 8;
constexpr Integer kMostVariables = 20'000;
constexpr std::size_t kMostLogTexts = 5;
constexpr Integer kNear = 3; // at most so many lines between junk and a value that it may have garbled
constexpr Integer kStartMilliseconds = 5000;
constexpr Integer kAskMilliseconds = 10'000; // of silence, then the driver asks for the version
constexpr Integer kEndMilliseconds = 20'000; // of silence, then the driver ends
constexpr Integer kAnswerMilliseconds = 2000;
constexpr Integer kRepeatMilliseconds = 3000;

// Internal messages that the driver ignores.
enum InternalType : Integer { kIdResponse = 4, kHeartbeat = 22, kAboutToSleep = 32, kAwake = 33 };

bool hasSixFields(std::string_view text) {
    for (int field = 0; field < 5; ++field) {
        const std::size_t end = text.find(';');
        if (end == std::string_view::npos)
            return false;
        text.remove_prefix(end + 1);
    }
    return true;
}

// Whether a line has the form that a gateway writes: numbers of up to three digits, each in its range.
bool isSound(std::string_view text, const cMSCommand& command) {
    constexpr std::ptrdiff_t kTwoMessages = 10; // separators
    std::string_view rest = text;
    for (int field = 0; field < 5; ++field) {
        const std::size_t size = rest.size();
        takeDigits(rest);
        if (size == rest.size() || size - rest.size() > 3 || !rest.starts_with(';'))
            return false;
        rest.remove_prefix(1);
    }
    return command.nodeID <= kNoId && command.childID <= mySensors::kNodeLevelChild &&
           command.messageType <= mySensors::kStream && command.ack <= 1 && command.SubType <= 255 &&
           (command.nodeID != kNoId || command.messageType == mySensors::kInternal) &&
           std::count(text.begin(), text.end(), ';') < kTwoMessages &&
           text.find('\0') == std::string_view::npos;
}

void noteValue(Variable& variable, std::string_view payload, Integer line) {
    variable.last = shortened(payload);
    if (variable.values++ == 0) {
        variable.first = variable.last;
        variable.line = line;
    }
    if (!IsNumeric(payload))
        return;
    const double number = Val(payload);
    variable.lowest = std::min(variable.lowest.value_or(number), number);
    variable.highest = std::max(variable.highest.value_or(number), number);
}

} // namespace

std::string shortened(std::string_view text, std::size_t longest) {
    return text.size() <= longest ? std::string(text) : std::string(text.substr(0, longest)) + "...";
}

void Statement::note(std::string_view text) {
    const std::string kept = shortened(text);
    const auto found = std::find(texts.begin(), texts.end(), kept);
    const auto index = static_cast<std::size_t>(found - texts.begin());
    if (found == texts.end()) {
        if (texts.size() == kMostStatements)
            return;
        texts.push_back(kept);
    } else if (index != latest) {
        cameBack = true;
    }
    latest = index;
}

bool Child::hasValue() const {
    return std::any_of(variables.begin(), variables.end(),
                       [](const auto& each) { return each.second.values > 0; });
}

bool Node::hasUnit() const {
    return std::any_of(children.begin(), children.end(), [](const auto& each) {
        return each.first != mySensors::kNodeLevelChild && each.second.hasValue();
    });
}

void Rhythm::note(Integer at) {
    constexpr Integer kShortest = 1000;
    const Integer interval = at - last;
    if (at < 0 || (last >= 0 && interval < kShortest))
        return;
    if (last >= 0) {
        ++count;
        sum += interval;
        longest = std::max(longest, interval);
    }
    last = at;
}

MeshModel::MeshModel() {
    ensureVocabulary();
}

void MeshModel::opened() {
    nodesSpoke_ = false;
    openedAt_ = gatewayAt_ = askedAt_ = -1;
}

void MeshModel::add(const TracedLine& line) {
    isLoose = isLoose || line.isLoose;
    if (line.at >= 0) {
        firstAt = firstAt < 0 ? line.at : firstAt;
        lastAt = line.at;
        openedAt_ = openedAt_ < 0 ? line.at : openedAt_;
    }
    const std::string_view text = trimmed(line.text);
    ++(line.toDriver ? fromGateway : fromDriver);
    if (line.toDriver)
        addFromGateway(line, text);
    else
        addFromDriver(line, text);
}

void MeshModel::addFromGateway(const TracedLine& line, std::string_view text) {
    bytes += static_cast<Integer>(line.text.size());
    measureSilence(line);
    if (text.empty())
        return;
    if (!hasSixFields(text))
        return addUnreadable(line, text);
    const cMSCommand command{String(text)};
    if (!isSound(text, command))
        return addDamaged(line, text, command);
    junkAtStart = good++ == 0 ? junk : junkAtStart;
    addMessage(line, command);
}

void MeshModel::measureSilence(const TracedLine& line) {
    const Integer before = std::exchange(gatewayAt_, line.at);
    const Integer asked = std::exchange(askedAt_, -1);
    // The times of a recording are not exact.
    const Integer gap = line.at - before - line.inexactness;
    if (before < 0 || gap <= kAskMilliseconds)
        return;
    const bool isAnswer = asked >= 0 && line.at - asked <= kAnswerMilliseconds;
    ++silences.over10;
    silences.over20 += gap > kEndMilliseconds ? 1 : 0;
    if (gap > silences.longest) {
        silences.longest = gap;
        silences.longestLine = line.number;
    }
    silences.late += gap <= kEndMilliseconds && !isAnswer ? 1 : 0;
}

void MeshModel::noteJunk(Integer number) {
    junkLine_ = number;
    for (const auto& [line, variable] : newest_)
        variable->isNearJunk = variable->isNearJunk || number - line <= kNear;
}

void MeshModel::addUnreadable(const TracedLine& line, std::string_view text) {
    const auto isStrange = [](char each) { return (each & 0x80) != 0 || each < ' ' || each == '\x7f'; };
    if (std::any_of(text.begin(), text.end(), isStrange)) {
        const std::string shown = printable(text);
        junk += std::count(shown.begin(), shown.end(), '?') - std::count(text.begin(), text.end(), '?');
        nuls += std::count(text.begin(), text.end(), '\0');
    }
    if (line.isFirst || line.isCut)
        return;
    if (malformed++ == 0) {
        firstMalformed = line.number;
        malformedText = shortened(text);
    }
    noteJunk(line.number);
}

void MeshModel::addDamaged(const TracedLine& line, std::string_view text, const cMSCommand& command) {
    nuls += std::count(text.begin(), text.end(), '\0');
    junk += std::count(text.begin(), text.end(), '\0');
    const bool hasUnit =
        command.messageType == mySensors::kSet && command.childID != mySensors::kNodeLevelChild;
    if (line.isCut || (line.isFirst && (line.isLoose || !hasUnit)))
        return;
    noteJunk(line.number);
    ++damagedCount;
    if (damaged.size() < kMostDamaged)
        damaged.push_back({line.number, shortened(text),
                           hasUnit ? std::string(command.HearthixAddressWithSubtype.view()) : std::string()});
}

void MeshModel::addMessage(const TracedLine& line, const cMSCommand& command) {
    if (command.messageType == mySensors::kInternal && command.SubType == mySensors::kIdRequest) {
        ++idRequests;
        ++openIdRequests;
        lastIdRequest = line.number;
    }
    if (command.nodeID == kNoId)
        return;
    Node& node = nodes[command.nodeID];
    ++node.messages;
    node.lastLine = line.number;
    node.lastAt = line.at;
    if (const auto found = assignments.find(command.nodeID); found != assignments.end())
        found->second.isInUse = true;
    nodesSpoke_ = nodesSpoke_ || command.nodeID != kGateway;
    switch (command.messageType) {
    case mySensors::kPresentation: addPresentation(node, line, command); break;
    case mySensors::kSet: addValue(node, line, command); break;
    case mySensors::kInternal: addInternal(node, line, command); break;
    case mySensors::kStream: node.getsFirmware = true; break;
    default: break;
    }
}

void MeshModel::addPresentation(Node& node, const TracedLine& line, const cMSCommand& command) {
    if (command.childID == mySensors::kNodeLevelChild) {
        ++node.presentations;
        node.library.note(command.PayLoad);
        node.isSearching = false;
        return;
    }
    Child& child = node.children[command.childID];
    if (child.presentations++ == 0) {
        child.line = line.number;
        child.at = line.at;
    }
    child.types.note(std::to_string(command.SubType));
    if (!command.PayLoad.empty())
        child.description = shortened(command.PayLoad);
}

Variable* MeshModel::variableOf(Node& node, Integer child, Integer type) {
    std::map<Integer, Variable>& variables = node.children[child].variables;
    if (const auto found = variables.find(type); found != variables.end())
        return &found->second;
    if (variables_ == kMostVariables)
        return nullptr;
    ++variables_;
    return &variables[type];
}

void MeshModel::addValue(Node& node, const TracedLine& line, const cMSCommand& command) {
    Variable* variable = variableOf(node, command.childID, command.SubType);
    if (variable == nullptr)
        return void(++dropped);
    node.isKnownToDriver = true;
    if (variable->values == 0) {
        variable->isNearJunk = line.number - junkLine_ <= kNear;
        variable->isMeasured = !mySensors::varTypeConverter->HasKey(command.SubType) ||
                               mySensors::isVarTypeDimmable(command.SubType);
        newest_.emplace_back(line.number, variable);
        if (newest_.size() > static_cast<std::size_t>(kNear))
            newest_.erase(newest_.begin());
    }
    noteValue(*variable, command.PayLoad, line.number);
    if (std::exchange(variable->isAwaited, false))
        ++(command.ack == 1 ? variable->echoes : variable->answers);
    if (variable->isMeasured)
        node.rhythm.note(line.at);
    node.lostParents += std::exchange(node.isSearching, false) ? 1 : 0;
}

void MeshModel::addInternal(Node& node, const TracedLine& line, const cMSCommand& command) {
    switch (command.SubType) {
    case mySensors::kBatteryLevel:
        node.rhythm.note(line.at);
        if (command.childID == mySensors::kNodeLevelChild) {
            node.battery = ValInteger(command.PayLoad);
            node.isKnownToDriver = true;
        } else if (!node.isKnownToDriver) {
            fatalBatteries.try_emplace(std::string(command.rootAddress.view()), line.number);
        }
        break;
    case mySensors::kVersion:
        if (command.nodeID == kGateway)
            node.library.note(command.PayLoad);
        break;
    case mySensors::kSketchName: node.sketch.note(command.PayLoad); break;
    case mySensors::kSketchVersion: node.version.note(command.PayLoad); break;
    case mySensors::kLogMessage: addLog(node, command); break;
    case mySensors::kGatewayReady:
        if (command.nodeID == kGateway)
            addStart(line);
        break;
    case kHeartbeat:
    case kAboutToSleep:
    case kAwake: node.rhythm.note(line.at); break;
    default: break;
    }
}

// A gateway starts when its line is opened, and may report that twice.
void MeshModel::addStart(const TracedLine& line) {
    ++starts;
    const bool isOpening = line.at >= 0 && line.at - openedAt_ < kStartMilliseconds && starts == 1;
    if (std::exchange(nodesSpoke_, false) && !isOpening)
        firstRestart = restarts++ == 0 ? line.number : firstRestart;
}

void MeshModel::addLog(Node& node, const cMSCommand& command) {
    ++logLines;
    const RadioEvent event = radioEventOf(command.PayLoad);
    radioLines += event.kind != RadioEvent::Kind::none ? 1 : 0;
    const bool hasOther = event.node > kGateway && event.node < kNoId;
    switch (event.kind) {
    case RadioEvent::Kind::none:
        if (logTexts.size() < kMostLogTexts)
            logTexts.push_back(shortened(command.PayLoad));
        break;
    case RadioEvent::Kind::unknown: ++unknownRadioLines; break;
    case RadioEvent::Kind::received: break;
    case RadioEvent::Kind::sent:
    case RadioEvent::Kind::failed:
        if (hasOther) {
            ++nodes[event.node].sent;
            nodes[event.node].failed += event.kind == RadioEvent::Kind::failed ? 1 : 0;
        }
        break;
    case RadioEvent::Kind::search:
        // A starting node also searches for a parent. It presents itself afterwards.
        if (const auto found = nodes.find(event.node);
            hasOther && found != nodes.end() && found->second.messages > 0)
            found->second.isSearching = true;
        break;
    case RadioEvent::Kind::parentLost: ++node.lostParents; break;
    case RadioEvent::Kind::radioFailed: ++radioFailures; break;
    }
}

void MeshModel::addFromDriver(const TracedLine& line, std::string_view text) {
    if (!hasSixFields(text))
        return;
    const cMSCommand command{String(text)};
    const bool isInternal = command.messageType == mySensors::kInternal;
    const bool isNode = command.nodeID >= kGateway && command.nodeID < kNoId && command.childID >= 0 &&
                        command.childID <= mySensors::kNodeLevelChild && command.SubType >= -1 &&
                        command.SubType <= 255;
    if (isInternal && command.SubType == kIdResponse) {
        addAssignment(line, command);
    } else if (isInternal && command.SubType == mySensors::kVersion) {
        ++driverLines.versions;
        askedAt_ = line.at;
    } else if (isInternal && command.SubType == mySensors::kTime) {
        ++driverLines.times;
    } else if (isInternal && command.SubType == mySensors::kConfig) {
        ++driverLines.configurations;
    } else if (isNode &&
               (command.messageType == mySensors::kSet || command.messageType == mySensors::kRequest)) {
        Node& node = nodes[command.nodeID];
        node.isKnownToDriver = true;
        if (Variable* variable = variableOf(node, command.childID, command.SubType)) {
            ++variable->commands;
            variable->isAwaited = true;
        }
    } else {
        ++driverLines.others;
    }
}

// A node that received no answer asks again within seconds and may get the same ID.
void MeshModel::addAssignment(const TracedLine& line, const cMSCommand& command) {
    openIdRequests = 0;
    const Integer id = ValInteger(command.PayLoad);
    if (id < 1 || id > kNoId)
        return;
    Assignment& made = assignments[id];
    const bool isRepeat = !made.isInUse && made.child == command.childID && line.at >= 0 &&
                          line.at - made.at <= kRepeatMilliseconds;
    if (made.times == 0) {
        made.first = line.number;
        const auto known = nodes.find(id);
        made.times = known != nodes.end() && known->second.messages > 0 ? 1 : 0;
    }
    made.times += isRepeat ? 0 : 1;
    made.latest = line.number;
    made.at = line.at;
    made.child = command.childID;
    made.isInUse = false;
}

} // namespace hearthix::sim
