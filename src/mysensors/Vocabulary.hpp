// The numbers of the MySensors serial API, as names for people and as properties of host units.
#pragma once

#include "runtime/text/String.hpp"

namespace hearthix::mySensors {

// The message types.
constexpr Integer kPresentation = 0;
constexpr Integer kSet = 1;
constexpr Integer kRequest = 2;
constexpr Integer kInternal = 3;
constexpr Integer kStream = 4;
// The child that stands for the node as a whole.
constexpr Integer kNodeLevelChild = 255;
// The device type of an endpoint that no presentation has named.
constexpr Integer kNoDeviceType = -1;

// The subtypes of internal messages that the driver acts on.
enum InternalType : Integer {
    kBatteryLevel = 0,
    kTime = 1,
    kVersion = 2,
    kIdRequest = 3,
    kConfig = 6,
    kLogMessage = 9,
    kSketchName = 11,
    kSketchVersion = 12,
    kGatewayReady = 14
};

String describeMessageType(Integer messageType);
String describeAck(Integer ack);
String DescribePresentationSubType(Integer subType);
String DescribeInteralMessageType(Integer subType);

// The suffix of a variable type; "UNKN" and the number for one that the table lacks.
String varTypeToSuffix(Integer variableType);
// The variable type of a suffix in any case; -1 when there is none.
Integer SuffixToVarType(const String& suffix);

// Whether a unit for this variable carries a level, and whether it can't be commanded. An unknown type counts
// as both, and is logged.
bool isVarTypeDimmable(Integer variableType);
bool isVarTypeReadOnly(Integer variableType);

} // namespace hearthix::mySensors
