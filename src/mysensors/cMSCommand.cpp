#include "mysensors/cMSCommand.hpp"

#include "log/Globals.hpp"
#include "log/Log.hpp"
#include "mysensors/AddressIndex.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "vocabulary/Vocabulary.hpp"

#include <algorithm>
#include <array>

namespace hearthix {

namespace {

constexpr std::size_t kNumbers = 5;

// Takes the number and the ";" after it off the front of a line. Its digits are taken as they come; what
// else stands there is read as any number is. False when there is no ";".
bool takeNumber(std::string_view& line, Integer& number) {
    const std::size_t mostDigits = std::min<std::size_t>(line.size(), 15);
    std::size_t at = 0;
    for (number = 0; at < mostDigits && line[at] >= '0' && line[at] <= '9'; ++at)
        number = number * 10 + (line[at] - '0');
    if (at == line.size() || line[at] != ';') {
        at = line.find(';');
        number = ValInteger(line.substr(0, at));
    }
    line.remove_prefix(std::min(line.size(), at + 1)); // at is npos without one
    return at != std::string_view::npos;
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
    PayLoad = line.cut(line.size() - rest.size(), rest.find(';'));
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

} // namespace hearthix
