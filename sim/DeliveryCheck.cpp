#include "sim/DeliveryCheck.hpp"

#include "mysensors/Vocabulary.hpp"
#include "runtime/Numbers.hpp"
#include "runtime/StringFunctions.hpp"
#include "sim/Mesh.hpp"

#include <algorithm>

namespace hearthix::sim {

namespace {

// What the host must be told for a payload. Of a unit without a level it hears on or off, and 0 is on.
std::string toldFor(Integer variableType, const String& payload) {
    String told;
    if (!IsNumeric(payload))
        told = concat("SetDesc ", payload);
    else if (mySensors::isVarTypeDimmable(variableType))
        told = concat("SetValue ", payload);
    else
        told = Val(payload) == 0 ? "ON" : "OFF";
    return std::string(told.view());
}

std::string toldBy(const cHearthixCommand& packet, const String& word) {
    String told = word;
    if (word == "SetValue")
        told = concat("SetValue ", packet.GetMulti("Valu"));
    else if (word == "SetDesc")
        told = concat("SetDesc ", packet.GetMulti("DATA"));
    return std::string(told.view());
}

bool isValueWord(const String& word) {
    return word == "SetValue" || word == "SetDesc" || word == "ON" || word == "OFF";
}

} // namespace

void DeliveryCheck::sent(const String& line) {
    const Array<String> fields = Split(line, ";");
    if (fields.Ubound() < 5 || ValInteger(fields[2]) != mySensors::kSet ||
        ValInteger(fields[1]) == mySensors::kNodeLevelChild)
        return;
    const Integer variableType = ValInteger(fields[4]);
    const String address = unitAddress(ValInteger(fields[0]), ValInteger(fields[1]), variableType);
    pending_[std::string(address.view())].push_back(toldFor(variableType, fields[5]));
    ++expected_;
}

void DeliveryCheck::arrived(const cHearthixCommand& packet) {
    if (!packet.isMultiPacket || !isValueWord(packet.GetMulti("mcmd")))
        return;
    std::deque<std::string>& pending = pending_[std::string(packet.GetMulti("addr").view())];
    const auto found = std::find(pending.begin(), pending.end(), toldBy(packet, packet.GetMulti("mcmd")));
    if (found == pending.end()) {
        ++unexpected_;
        return;
    }
    pending.erase(pending.begin(), found + 1);
    ++delivered_;
}

void DeliveryCheck::commanded(const String& word, const String& address, const String& value) {
    ensureVocabulary();
    const String payload = word == "SetValue" ? value : word == "ON" ? String("1") : String("0");
    const Integer node = ValInteger(String("&h") + LeftB(address, 2));
    const Integer child = ValInteger(String("&h") + MidB(address, 3, 2));
    const Integer variableType = mySensors::SuffixToVarType(NthField(address, ".", 2));
    const String line = concat(Str(node), ";", Str(child), ";1;0;", Str(variableType), ";", payload);
    commands_.emplace(line.view());
}

void DeliveryCheck::obeyed(const String& line) {
    const auto found = commands_.find(std::string(line.view()));
    if (found != commands_.end())
        commands_.erase(found);
}

} // namespace hearthix::sim
