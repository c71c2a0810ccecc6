#include "sim/DeliveryCheck.hpp"

#include "mysensors/Vocabulary.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "sim/Mesh.hpp"

#include <algorithm>

namespace hearthix::sim {

namespace {

// The words that the host must receive for a payload. A unit without a level gets ON or OFF, and 0 is ON.
std::string wordsFor(Integer variableType, const String& payload) {
    String words;
    if (!IsNumeric(payload))
        words = concat("SetDesc ", payload);
    else if (mySensors::isVarTypeDimmable(variableType))
        words = concat("SetValue ", payload);
    else
        words = Val(payload) == 0 ? "ON" : "OFF";
    return std::string(words.view());
}

std::string wordsIn(const cHearthixCommand& packet, const String& word) {
    String words = word;
    if (word == "SetValue")
        words = concat("SetValue ", packet.GetMulti("Valu"));
    else if (word == "SetDesc")
        words = concat("SetDesc ", packet.GetMulti("DATA"));
    return std::string(words.view());
}

bool isValueWord(const String& word) {
    return word == "SetValue" || word == "SetDesc" || word == "ON" || word == "OFF";
}

} // namespace

void DeliveryCheck::sent(const String& line) {
    const Array<String> fields = Split(line, ";");
    if (fields.Ubound() < 5)
        return;
    const Integer child = ValInteger(fields[1]);
    const Integer variableType = ValInteger(fields[4]);
    const std::string address(unitAddress(ValInteger(fields[0]), child, variableType).view());
    if (ValInteger(fields[2]) == mySensors::kInternal && variableType == mySensors::kBatteryLevel)
        batteries_[address.substr(0, 2)] = fields[5].view();
    if (ValInteger(fields[2]) != mySensors::kSet || child == mySensors::kNodeLevelChild)
        return;
    const std::string words = wordsFor(variableType, fields[5]);
    latest_[address] = words;
    pending_[address].push_back({words, ++expected_});
}

void DeliveryCheck::arrived(const cHearthixCommand& packet) {
    if (!packet.isMultiPacket || !isValueWord(packet.GetMulti("mcmd")))
        return;
    std::deque<Value>& pending = pending_[std::string(packet.GetMulti("addr").view())];
    const std::string words = wordsIn(packet, packet.GetMulti("mcmd"));
    const auto found = std::find_if(pending.begin(), pending.end(),
                                    [&words](const Value& value) { return value.words == words; });
    if (found == pending.end()) {
        ++unexpected_;
        return;
    }
    lastArrived_ = std::max(lastArrived_, found->number);
    pending.erase(pending.begin(), found + 1);
    ++delivered_;
}

void DeliveryCheck::beginAnew() {
    for (const auto& [address, values] : pending_)
        inFlight_ += std::count_if(values.begin(), values.end(),
                                   [this](const Value& value) { return value.number > lastArrived_; });
    commandsInFlight_ += commandsMissing();
    pending_.clear();
    commands_.clear();
    latest_.clear();
    batteries_.clear();
}

Integer DeliveryCheck::disagreements(const HostModel& model) const {
    Integer count = 0;
    for (const auto& [address, words] : latest_) {
        const Ref<HostUnit> unit = model.find(String(address));
        const auto level = batteries_.find(address.substr(0, 2));
        const std::string battery = level == batteries_.end() ? "0" : level->second;
        const bool agrees = unit && unit->value.view() == words.substr(words.find(' ') + 1) &&
                            unit->battery.view() == battery;
        count += agrees ? 0 : 1;
    }
    return count;
}

void DeliveryCheck::commanded(const String& word, const String& address, const String& value) {
    ensureVocabulary();
    const String payload = word == "SetValue" ? value : word == "ON" ? String("1") : String("0");
    const Integer node = ValInteger(concat("&h", LeftB(address, 2)));
    const Integer child = ValInteger(concat("&h", MidB(address, 3, 2)));
    const Integer variableType = mySensors::SuffixToVarType(NthField(address, ".", 2));
    const String line = concat(Str(node), ";", Str(child), ";1;0;", Str(variableType), ";", payload);
    commands_.emplace(line.view());
}

void DeliveryCheck::obeyed(const String& line) {
    const auto found = commands_.find(std::string(line.view()));
    const Array<String> fields = Split(line, ";");
    if (found != commands_.end())
        commands_.erase(found);
    else if (fields.Ubound() == 5 && ValInteger(fields[2]) == mySensors::kSet)
        ++commandsUnexpected_;
}

} // namespace hearthix::sim
