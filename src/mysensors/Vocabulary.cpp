#include "mysensors/Vocabulary.hpp"

#include "mysensors/VarTypeConverter.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "shell/log/Log.hpp"

#include <algorithm>
#include <array>
#include <span>

namespace hearthix {

namespace {

// Each list contains a number, a blank and its name per entry.

constexpr const char* kMessageTypes = "0 presentation|1 SET value|2 REQuest value|3 internal|4 stream";

constexpr const char* kAcks = "0 normal message|1 ack response";

constexpr const char* kPresentations =
    "0 Door|1 Motion|2 Smoke|3 Binary|4 Dimmer|5 window covering|6 Temperature|7 Humidity|8 Barometer|"
    "9 Wind Speed|10 Rain|11 UV|12 weight|13 Power|14 Heater|15 Distance|16 Light|17 Arduino|"
    "18 Arduino Repeater|19 Lock|20 IR|21 Water Meter|22 Air Quality|23 Custom|24 Dust Level|"
    "25 Scene Controller|26 RGB|27 RGBW|28 Color|29 HVAC|30 Multimeter|31 Sprinkler|32 Water Leak|"
    "33 Sound|34 Vibration|35 Moisture";

constexpr const char* kInternals =
    "0 battery level|1 requesting time|2 requesting version info|3 requesting new node ID|"
    "4 sending new ID|5 start/stop inclusion mode|6 requesting config|7 find parent|"
    "8 find parent response|9 log message|10 child transfer message|11 node reporting sketch name|"
    "12 node reporting sketch version|13 request for node reboot|14 gateway reports ready|"
    "15 signing request|16 request nonce|17 nonce response";

constexpr std::array<Integer, 10> kNotDimmable{2, 15, 16, 19, 20, 29, 30, 31, 36, 43};
constexpr std::array<Integer, 23> kWritable{2,  3,  15, 19, 20, 21, 22, 24, 25, 26, 27, 28,
                                            29, 30, 31, 32, 33, 36, 40, 41, 42, 44, 45};

// Returns the name of a number, or an empty string.
String nameOf(const String& list, Integer number) {
    const String key = Str(number) + " ";
    for (const String& entry : Split(list, "|"))
        if (Left(entry, Len(key)) == key)
            return Mid(entry, Len(key) + 1);
    return {};
}

String nameOrUnknown(const String& list, Integer number) {
    const String name = nameOf(list, number);
    return name.empty() ? "unknown" : name;
}

// Returns at least three digits, after the sign of a negative number.
String threeDigits(Integer number) {
    const bool isNegative = number < 0;
    const String digits = Mid(Str(number), isNegative ? 2 : 1);
    return concat(isNegative ? "-" : "", Left("000", 3 - Len(digits)), digits);
}

bool isVarType(Integer number) {
    return number >= 0 && number <= mySensors::kLastVariableType;
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
    const String name = nameOf(kPresentations, subType);
    return name.empty() ? concat("Unknown ", threeDigits(subType)) : name;
}

String mySensors::DescribeInteralMessageType(Integer subType) {
    return nameOrUnknown(kInternals, subType);
}

String mySensors::varTypeToSuffix(Integer variableType) {
    // The first entries of the table are those of the numbers, in order.
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
