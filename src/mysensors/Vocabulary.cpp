#include "mysensors/Vocabulary.hpp"

#include "mysensors/VarTypeConverter.hpp"
#include "runtime/text/Numbers.hpp"
#include "shell/log/Log.hpp"

#include <algorithm>
#include <array>
#include <span>

namespace hearthix {

namespace {

constexpr std::array kMessageTypes{"presentation", "SET value", "REQuest value", "internal", "stream"};

constexpr std::array kAcks{"normal message", "ack response"};

constexpr std::array kPresentations{"Door",
                                    "Motion",
                                    "Smoke",
                                    "Binary",
                                    "Dimmer",
                                    "window covering",
                                    "Temperature",
                                    "Humidity",
                                    "Barometer",
                                    "Wind Speed",
                                    "Rain",
                                    "UV",
                                    "weight",
                                    "Power",
                                    "Heater",
                                    "Distance",
                                    "Light",
                                    "Arduino",
                                    "Arduino Repeater",
                                    "Lock",
                                    "IR",
                                    "Water Meter",
                                    "Air Quality",
                                    "Custom",
                                    "Dust Level",
                                    "Scene Controller",
                                    "RGB",
                                    "RGBW",
                                    "Color",
                                    "HVAC",
                                    "Multimeter",
                                    "Sprinkler",
                                    "Water Leak",
                                    "Sound",
                                    "Vibration",
                                    "Moisture"};

constexpr std::array kInternals{"battery level",
                                "requesting time",
                                "requesting version info",
                                "requesting new node ID",
                                "sending new ID",
                                "start/stop inclusion mode",
                                "requesting config",
                                "find parent",
                                "find parent response",
                                "log message",
                                "child transfer message",
                                "node reporting sketch name",
                                "node reporting sketch version",
                                "request for node reboot",
                                "gateway reports ready",
                                "signing request",
                                "request nonce",
                                "nonce response"};

constexpr Integer kLastVariableType = 45;

constexpr std::array<Integer, 10> kNotDimmable{2, 15, 16, 19, 20, 29, 30, 31, 36, 43};
constexpr std::array<Integer, 23> kWritable{2,  3,  15, 19, 20, 21, 22, 24, 25, 26, 27, 28,
                                            29, 30, 31, 32, 33, 36, 40, 41, 42, 44, 45};

const char* nameOf(std::span<const char* const> names, Integer number) {
    const bool known = number >= 0 && number < static_cast<Integer>(names.size());
    return known ? names[static_cast<std::size_t>(number)] : nullptr;
}

String nameOrUnknown(std::span<const char* const> names, Integer number) {
    const char* name = nameOf(names, number);
    return name != nullptr ? name : "unknown";
}

// At least three digits, after the sign of a negative number.
String threeDigits(Integer number) {
    const auto value = static_cast<std::uint64_t>(number);
    const String digits = Str(number < 0 ? ~value + 1 : value);
    return concat(number < 0 ? "-" : "", String("000").cut(std::min<std::size_t>(digits.size(), 3)), digits);
}

bool isVarType(Integer number) {
    return number >= 0 && number <= kLastVariableType;
}

bool isKnownVarType(Integer variableType) {
    if (isVarType(variableType))
        return true;
    HearthixSupport::WriteLog(concat("unknown variable type: ", Str(variableType)));
    return false;
}

bool contains(std::span<const Integer> list, Integer number) {
    return std::find(list.begin(), list.end(), number) != list.end();
}

} // namespace

String mySensors::describeMessageType(Integer messageType) {
    return nameOrUnknown(kMessageTypes, messageType);
}

String mySensors::describeAck(Integer ack) {
    return nameOrUnknown(kAcks, ack);
}

String mySensors::DescribePresentationSubType(Integer subType) {
    const char* name = nameOf(kPresentations, subType);
    return name != nullptr ? String(name) : concat("Unknown ", threeDigits(subType));
}

String mySensors::DescribeInteralMessageType(Integer subType) {
    return nameOrUnknown(kInternals, subType);
}

String mySensors::varTypeToSuffix(Integer variableType) {
    // The numbers come first in it, in order.
    const Dictionary& table = *varTypeConverter;
    return isVarType(variableType) ? table.ValueAt(variableType).asString()
                                   : concat("UNKN", threeDigits(variableType));
}

Integer mySensors::SuffixToVarType(const String& suffix) {
    const Variant* number = varTypeConverter->find(suffix);
    return number != nullptr ? number->asInteger() : -1;
}

bool mySensors::isVarTypeDimmable(Integer variableType) {
    return !isKnownVarType(variableType) || !contains(kNotDimmable, variableType);
}

bool mySensors::isVarTypeReadOnly(Integer variableType) {
    return !isKnownVarType(variableType) || !contains(kWritable, variableType);
}

} // namespace hearthix
