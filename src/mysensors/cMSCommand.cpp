#include "mysensors/cMSCommand.hpp"

#include "mysensors/Vocabulary.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "shell/log/Globals.hpp"
#include "shell/log/Log.hpp"

#include <array>

namespace hearthix {

namespace {

constexpr std::size_t kNumbers = 5;

// Reads a number and removes it and the ";" behind it from the line. False if there is no ";".
bool takeNumber(std::string_view& line, Integer& number) {
    const std::size_t end = line.find(';');
    if (end == std::string_view::npos)
        return false;
    // Optimised: nearly all numbers are plain digits.
    std::string_view rest = line.substr(0, end);
    number = takeDigits(rest);
    if (!rest.empty())
        number = ValInteger(line.substr(0, end));
    line.remove_prefix(end + 1);
    return true;
}

} // namespace

cMSCommand::cMSCommand(const String& line) {
    if (!line.empty())
        good = cMSCommand::parseCommand(line);
}

bool cMSCommand::parseCommand(const String& line) {
    if (Globals::DebugMode)
        HearthixSupport::WriteLog(concat("mySensors packet received (", line, ")"));
    std::string_view rest = line;
    std::array<Integer, kNumbers> numbers{};
    for (Integer& number : numbers) {
        if (takeNumber(rest, number))
            continue;
        HearthixSupport::WriteLog(concat("malformed mySensors packet: (", line, ")"));
        return false;
    }
    nodeID = numbers[0];
    childID = numbers[1];
    messageType = numbers[2];
    ack = numbers[3];
    SubType = numbers[4];
    PayLoad = line.part(rest.substr(0, rest.find(';')));
    if (Globals::DebugMode)
        logFields();
    rootAddress = mySensors::rootAddressOf(nodeID, childID);
    if (messageType == mySensors::kSet)
        HearthixAddressWithSubtype = concat(rootAddress, ".", mySensors::varTypeToSuffix(SubType));
    return true;
}

void cMSCommand::logFields() const {
    HearthixSupport::WriteLog(
        concat("nodeID=", Str(nodeID), "(", Globals::formatHexOfLowByte(nodeID), ") childID=", Str(childID),
               "(", Globals::formatHexOfLowByte(childID), ") messageType=", Str(messageType), "(",
               mySensors::describeMessageType(messageType), ") ack=", Str(ack), "(",
               mySensors::describeAck(ack), ") SubType=", Str(SubType), "(", describeSubType(),
               ") PayLoad=", PayLoad, " (", Globals::Hexify(LeftB(PayLoad, Log::kLongestBody)), ")"));
}

String cMSCommand::describeSubType() const {
    switch (messageType) {
    case mySensors::kPresentation:
        return concat("presenting: ", mySensors::DescribePresentationSubType(SubType));
    case mySensors::kSet: return concat("setting variable type: ", mySensors::varTypeToSuffix(SubType));
    case mySensors::kRequest: return concat("getting variable type: ", mySensors::varTypeToSuffix(SubType));
    case mySensors::kInternal: return mySensors::DescribeInteralMessageType(SubType);
    case mySensors::kStream: return "stream packet";
    default: return "unknown";
    }
}

String mySensors::rootAddressOf(Integer node, Integer child) {
    return Globals::formatHexOfLowByte(node).append(Globals::formatHexOfLowByte(child));
}

} // namespace hearthix
