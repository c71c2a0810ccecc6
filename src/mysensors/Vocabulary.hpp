// The numbers of the MySensors serial API: their names for people, and their meaning for the host's units.
#pragma once

#include "runtime/text/String.hpp"

namespace hearthix::mySensors {

// The message types.
constexpr Integer kPresentation = 0;
constexpr Integer kSet = 1;
constexpr Integer kRequest = 2;
constexpr Integer kInternal = 3;
constexpr Integer kStream = 4;
// The child ID of the node itself.
constexpr Integer kNodeLevelChild = 255;

// The subtypes of internal messages that the driver handles.
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
String DescribeInteralMessageType(Integer subType); // (sic)

// Returns the suffix of a variable type, or "UNKN" and the number for an unknown one.
String varTypeToSuffix(Integer variableType);
// Returns the variable type of a suffix in capitals or small letters, or -1.
Integer SuffixToVarType(const String& suffix);

// Return whether a unit for this variable has a level, and whether it is read-only. Both are true for an
// unknown type, and they log it. The log line may run a host command before they return.
bool isVarTypeDimmable(Integer variableType);
bool isVarTypeReadOnly(Integer variableType);

} // namespace hearthix::mySensors
