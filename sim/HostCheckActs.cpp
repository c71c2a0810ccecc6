// The conversation with the checked host on a link, and the judgement of its reactions.
#include "document/CXML.hpp"
#include "mysensors/Vocabulary.hpp"
#include "runtime/values/Exceptions.hpp"
#include "sim/HostCheck.hpp"
#include "sim/Waiting.hpp"

#include <algorithm>

namespace hearthix::sim {

namespace {

constexpr const char* kReady = "mySensors Serial Remote Control interface version 1.2 (build 005) ready.";
constexpr std::size_t kLongText = 255;

constexpr Integer kStartMilliseconds = 1000; // between the connection and the ready line
constexpr Integer kAnswerMilliseconds = 10'000;
constexpr Integer kSettleMilliseconds = 1000; // wait for packets that the host must not send
constexpr Integer kMostShows = 10;            // the host may not have stored the value yet
// The driver cannot reorder commands with a longer pause between them.
constexpr clocks::Nanoseconds kRightAfter = clocks::kSecond;

constexpr const char* kSwitch = "0C01.STATUS";
constexpr const char* kDimmer = "0C02.PERCENT";
constexpr const char* kSensor = "0C03.TEMP";
constexpr const char* kText = "0C04.VAR1";
constexpr const char* kNumber = "21.50";
constexpr const char* kWords = "Küche  süd: 21,5 °C";

// The number of digits for node and child in an address, and the offset of the suffix.
constexpr Integer kRootDigits = 4;
constexpr std::size_t kSuffix = 5;

// The long list: with the names of the units it exceeds a packet.
constexpr Integer kFirstNode = 0x20;
constexpr Integer kNodes = 200;
constexpr Integer kLastNode = kFirstNode + kNodes - 1;
constexpr Integer kChildren = 5;
constexpr Integer kSample = 3;
constexpr const char* kLongName = " of a room at the far end of the upper floor";

String longText() {
    return String(std::string(kLongText, 'x'), TextEncoding::utf8);
}

String nodeOf(Integer node, Integer child) {
    return concat(Hex(node), "0", Str(child), ".TEMP");
}

bool contains(const std::vector<String>& texts, std::string_view wanted) {
    return std::any_of(texts.begin(), texts.end(),
                       [wanted](const String& each) { return each.view() == wanted; });
}

// The document in a text. Nil unless it is complete, that is, unless it is as long as the same document after
// writing.
Ref<CXML> documentIn(const String& text) {
    const auto document = Ref<CXML>::make();
    try {
        document->loadFromString(text);
    } catch (const RuntimeException&) {
        return nullptr;
    }
    const bool isComplete =
        text.view().starts_with(kKbdbMagic) && document->SaveToString().size() == text.size();
    return isComplete ? document : nullptr;
}

} // namespace

// The bytes after a list that exceeds a packet cannot be split into packets.
void HostCheck::receiveList(const cHearthixCommand& packet) {
    list_ = packet.GetMulti("DATA");
    listPacket_ = packet.RawCommonCommand;
    if (expectsLongList_ && documentIn(*list_).isNil())
        link_->end();
}

void HostCheck::becomeReady() {
    ConsoleApplication::DoEvents(kStartMilliseconds);
    ready_ = true;
    link_->log(kReady);
}

void HostCheck::session() {
    for (const Integer level : {1, 2, 4})
        link_->log(concat("Log line of level ", Str(level)), level);
    link_->log(longText(), 4); // the driver cuts it to the longest line
    becomeReady();
    createUnits();
    judgeList();
    judgeShown(Rule::values, kSensor, kNumber);
    judgeShown(Rule::values, kText, kWords);
    judgeSet("Bad & Küche");
    judgeSet(longText());
    judgeOrder();
    judgeSecondLink();
    sendManyValues();
    expectsLongList_ = true;
    judgeLongList();
    expectsLongList_ = false;
}

// A host that refuses the command keeps the rule. Without a command from a person the rule is not judged.
void HostCheck::earlyCommand() {
    const std::size_t from = events_.size();
    const bool isDone =
        person_.ask({"on", kSwitch}, concat("The driver is not ready yet. Switch ", kSwitch, " on."))
            .has_value();
    becomeReady();
    if ((isDone || person_.isScript()) && !link_->hasEnded())
        verdicts_.kept(Rule::readyFirst);
    waitUntil([&] { return find("ON", kSwitch, from) != nullptr || link_->hasEnded(); }, kSettleMilliseconds);
}

void HostCheck::letHostQuit() {
    if (link_.isNil() || link_->hasEnded())
        return;
    if (person_.ask({"quit"}, "End the host, or let it end the driver."))
        waitUntil([this] { return link_->hasEnded(); }, kSettleMilliseconds);
    link_->end();
}

// Sends the log line of the driver, then the value that the node reports after it has obeyed: 1 is reported
// as "OFF".
void HostCheck::obey(const Event& event) {
    const auto number = [&event](std::size_t at) {
        return Str(ValInteger(concat("&h", event.address.cut(at, 2))));
    };
    const bool isQuery = event.word == "Qery", isOn = event.word == "ON", isOff = event.word == "OFF";
    const String payload = isOn ? "1" : isOff ? "0" : event.value;
    link_->log(concat("outgoing command (", number(0), ";", number(2), isQuery ? ";2;0;" : ";1;0;",
                      Str(mySensors::SuffixToVarType(event.address.cut(kSuffix))), ";", payload, ")"));
    if (isOn || isOff)
        link_->send({{"addr", event.address}, {"mcmd", isOn ? "OFF" : "ON"}, {"Batt", "80"}});
    else if (!isQuery)
        sendValue(event.address, event.value);
}

void HostCheck::createUnit(const String& address, const String& name) {
    const Integer type = mySensors::SuffixToVarType(address.cut(kSuffix));
    const bool isDimmable = type < 0 || mySensors::isVarTypeDimmable(type);
    const bool isReadOnly = type < 0 || mySensors::isVarTypeReadOnly(type);
    link_->send({{"mcmd", "NewU"},
                 {"addr", address},
                 {"Name", name},
                 {"Dimm", MP::convertBoolToKey(isDimmable)},
                 {"RdNL", MP::convertBoolToKey(isReadOnly)},
                 {"List", "My Sensors"}});
}

void HostCheck::sendValue(const String& address, const String& value) {
    const bool isText = !IsNumeric(value);
    link_->send({{"mcmd", isText ? "SetDesc" : "SetValue"},
                 {"addr", address},
                 {isText ? "DATA" : "Valu", value},
                 {"Batt", "0"}});
}

// Creates units of every kind, with every kind of text that a node can send.
void HostCheck::createUnits() {
    created_ = {kSwitch, kDimmer, kSensor, kText, "0D01.VAR1", "0D02.VAR1", "0D03.VAR1", "0DFE.UNKN099"};
    const String names[] = {
        "(0C01) STATUS",         "(0C02) PERCENT", "(0C03) TEMP", "(0C04) VAR1",
        "Wohnzimmer, Decke süd", String(),         longText(),    String(std::string_view("a\0b", 3))};
    const String values[] = {"0",
                             "40",
                             kNumber,
                             kWords,
                             " two  blanks ",
                             String(),
                             longText(),
                             String(std::string_view("c\0d", 3))};
    for (std::size_t i = 0; i < created_.size(); ++i) {
        createUnit(created_[i], names[i]);
        if (i == 0)
            link_->send({{"addr", kSwitch}, {"mcmd", "OFF"}, {"Batt", "0"}});
        else
            sendValue(created_[i], values[i]);
        link_->send({{"mcmd", "NoOp"}, {"addr", created_[i]}, {"Batt", "80"}});
    }
    createUnit(kSwitch, "(0C01) STATUS"); // the unit exists, and the host keeps it
}

// Sends a thousand values in a second, each for a new unit, and another value of a known unit for each node.
void HostCheck::sendManyValues() {
    for (Integer node = kFirstNode; node <= kLastNode && !link_->hasEnded(); ++node) {
        for (Integer child = 0; child < kChildren; ++child) {
            createUnit(nodeOf(node, child), nodeOf(node, child) + kLongName);
            sendValue(nodeOf(node, child), Str(node));
        }
        sendValue(kDimmer, Str(node));
        ConsoleApplication::DoEvents(kChildren);
    }
}

// Returns whether the first link received the answer, on whatever link it was requested.
bool HostCheck::requestList(ProbeLink& link) {
    list_.reset();
    link.send({{"mcmd", "getUnits"}});
    return waitUntil([this] { return list_ || link_->hasEnded(); }, kAnswerMilliseconds) && list_;
}

bool HostCheck::judgeDocument() {
    const bool hadLink = !link_->hasEnded();
    const bool isAnswered = hadLink && requestList(*link_);
    if (hadLink && !isAnswered && !askedToEnd_ && !link_->hasGivenUp())
        verdicts_.broken(Rule::unitsAnswer, {},
                         link_->hasEnded() ? "the link ended after getUnits"
                                           : "10 seconds after getUnits there was no setUnits");
    if (!isAnswered)
        return false;
    verdicts_.kept(Rule::unitsAnswer);
    const Ref<CXML> document = documentIn(*list_);
    if (document.isNil()) {
        const bool isTooLong = expectsLongList_ && !verdicts_.isBroken(Rule::unitsDocument);
        verdicts_.broken(isTooLong ? Rule::unitsSize : Rule::unitsDocument, listPacket_,
                         isTooLong ? "the list of 1,000 units is cut off"
                                   : "\"DATA\" is no complete document");
        return false;
    }
    verdicts_.kept(expectsLongList_ ? Rule::unitsSize : Rule::unitsDocument);
    listed_.clear();
    for (const Ref<CXML>& unit : document->containersNamed("unit"))
        listed_.push_back(unit->GetStringValue("Address"));
    return true;
}

// A missing address counts as changed if the list contains an unknown address of the same node and child.
void HostCheck::judgeList() {
    if (!judgeDocument())
        return;
    for (const String& address : created_) {
        if (contains(listed_, address))
            continue;
        const auto isLike = [&](const String& each) {
            return LeftB(each, kRootDigits) == LeftB(address, kRootDigits) && !contains(created_, each);
        };
        const auto like = std::find_if(listed_.begin(), listed_.end(), isLike);
        if (like != listed_.end())
            verdicts_.broken(Rule::unitsAddresses, listPacket_, concat(address, " is listed as ", *like));
        else
            verdicts_.broken(Rule::unitsComplete, listPacket_, concat(address, " is not listed"));
    }
    verdicts_.kept(Rule::unitsComplete);
    verdicts_.kept(Rule::unitsAddresses);
}

// A host may shorten a long list to one unit of each node.
void HostCheck::judgeLongList() {
    if (!judgeDocument())
        return;
    Dictionary roots; // another rule judges the rest of an address
    for (const String& each : listed_)
        roots.SetValue(LeftB(each, kRootDigits), true);
    Integer units = 0, nodes = 0;
    for (Integer node = kFirstNode; node <= kLastNode; ++node) {
        Integer listed = 0;
        for (Integer child = 0; child < kChildren; ++child)
            listed += roots.HasKey(LeftB(nodeOf(node, child), kRootDigits)) ? 1 : 0;
        units += listed;
        nodes += listed > 0 ? 1 : 0;
    }
    verdicts_.kept(Rule::noLoss);
    const bool isShort = units == nodes;
    if (nodes < kNodes || (!isShort && units < kNodes * kChildren))
        verdicts_.broken(Rule::noLoss, {},
                         concat("of 1,000 units on 200 nodes, created in one second, the list contains ",
                                Str(units), " on ", Str(nodes)));
    // Only a script can check so many units.
    for (Integer node = kFirstNode;
         person_.isScript() && node <= kLastNode && !verdicts_.isBroken(Rule::noLoss); node += kSample)
        judgeShown(Rule::noLoss, nodeOf(node, node % kChildren), Str(node));
    judgeShown(Rule::noLoss, kDimmer, Str(kLastNode));
}

void HostCheck::judgeSet(const String& value) {
    const std::size_t from = events_.size();
    const auto hasCome = [&] { return find("SetValue", kText, from) != nullptr; };
    if (!person_.ask({"set", kText, value}, concat("Set ", kText, " to: ", value)) ||
        !waitUntil([&] { return hasCome() || link_->hasEnded(); }, kAnswerMilliseconds) || !hasCome())
        return;
    const Event& set = *find("SetValue", kText, from);
    verdicts_.kept(Rule::values);
    if (set.value.view() != value.view())
        verdicts_.broken(Rule::values, set.bytes, concat("the host sent ", set.value, " instead of ", value));
}

void HostCheck::judgeShown(Rule rule, const String& address, const String& value) {
    std::optional<String> shown;
    for (Integer times = person_.isScript() ? kMostShows : 1; times > 0 && !link_->hasEnded(); --times) {
        shown =
            person_.ask({"show", address}, concat("Type the value that the host shows for ", address, "."));
        if (!shown || shown->view() == value.view())
            break;
        ConsoleApplication::DoEvents(kSettleMilliseconds);
    }
    if (!shown)
        return;
    verdicts_.kept(rule);
    if (shown->view() != value.view())
        verdicts_.broken(rule, *shown, concat(address, " shows ", *shown, " instead of ", value));
}

// Either both commands and a ping after them must arrive in one read, or the second command must arrive after
// the answer to a ping.
void HostCheck::judgeOrder() {
    const std::size_t from = events_.size();
    if (link_->hasEnded() ||
        !person_.ask({"on-off", kSwitch},
                     concat("Switch ", kSwitch, " on and off again, as fast as you can.")))
        return;
    const auto areBoth = [&] { return find("ON", kSwitch, from) && find("OFF", kSwitch, from); };
    waitUntil([&] { return areBoth() || link_->hasEnded(); }, kAnswerMilliseconds);
    ConsoleApplication::DoEvents(kSettleMilliseconds);
    if (!areBoth())
        return;
    const Event *on = find("ON", kSwitch, from), *off = find("OFF", kSwitch, from);
    const std::size_t first = static_cast<std::size_t>(on - events_.data()) + 1;
    const Event *ping = find("ping", String(), first), *answer = find("PSrp", String(), first);
    const bool isSeparated = answer != nullptr && on < answer && answer < off;
    const bool isOneRead = on < off && on->read == off->read && ping > off && ping->read == off->read;
    if (!isSeparated && !isOneRead && off->at - on->at > kRightAfter)
        return;
    verdicts_.kept(Rule::commandOrder);
    if (off < on)
        verdicts_.broken(Rule::commandOrder, off->bytes, "OFF came before ON");
    else if (!isSeparated && !isOneRead)
        verdicts_.broken(Rule::commandOrder, off->bytes,
                         "OFF followed ON without an answered ping between them");
}

void HostCheck::judgeSecondLink() {
    if (link_->hasEnded())
        return;
    bool hasStrayed = false;
    const auto other = Ref<ProbeLink>::make(verdicts_);
    other->received = [&](const cHearthixCommand& packet, Integer) {
        hasStrayed = hasStrayed || (packet.isMultiPacket && packet.GetMulti("mcmd") == "setUnits");
    };
    other->open(host_, connectionId_ + "-2");
    waitUntil([&] { return other->IsConnected() || other->hasEnded(); }, kSettleMilliseconds);
    ConsoleApplication::DoEvents(kSettleMilliseconds);
    const bool isFirstAnswered = requestList(*link_) && !hasStrayed;
    list_.reset();
    other->send({{"mcmd", "getUnits"}});
    ConsoleApplication::DoEvents(kSettleMilliseconds);
    other->end();
    ConsoleApplication::DoEvents(kSettleMilliseconds);
    if (!isFirstAnswered && !hasStrayed && verdicts_.isBroken(Rule::unitsAnswer))
        return;
    verdicts_.kept(Rule::secondLink);
    if (link_->hasEnded())
        verdicts_.broken(Rule::secondLink, {}, "the first link ended");
    else if (!isFirstAnswered)
        verdicts_.broken(Rule::secondLink, {},
                         "the first link received no answer, or the second one received it");
    else if (list_)
        verdicts_.broken(Rule::secondLink, listPacket_,
                         "the first link received the answer for the second one");
}

} // namespace hearthix::sim
