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

constexpr std::size_t kFields = 6;

// The place of the next separator. Fields are a few bytes long, for which a call of memchr costs more than
// the search.
std::size_t separatorIn(std::string_view line) {
    constexpr std::size_t kShort = 4;
    for (std::size_t at = 0; at < std::min(line.size(), kShort); ++at)
        if (line[at] == ';')
            return at;
    return line.find(';', kShort);
}

// The first six fields of a line, as parts of it. False when it has fewer.
bool splitLine(std::string_view line, std::array<std::string_view, kFields>& fields) {
    for (std::size_t i = 0; i < kFields; ++i) {
        const std::size_t end = separatorIn(line);
        fields[i] = line.substr(0, end);
        if (end == std::string_view::npos)
            return i == kFields - 1;
        line.remove_prefix(end + 1);
    }
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
    std::array<std::string_view, kFields> fields;
    if (!splitLine(line.view(), fields)) {
        HearthixSupport::WriteLog(concat("malformed mySensors packet: (", line, ")"));
        return false;
    }
    nodeID = ValInteger(fields[0]);
    childID = ValInteger(fields[1]);
    messageType = ValInteger(fields[2]);
    ack = ValInteger(fields[3]);
    SubType = ValInteger(fields[4]);
    PayLoad = line.cut(static_cast<std::size_t>(fields[5].data() - line.data()), fields[5].size());
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
