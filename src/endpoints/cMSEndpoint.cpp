#include "endpoints/cMSEndpoint.hpp"

#include "endpoints/AddressIndex.hpp"
#include "hostlink/cHearthixDeviceSocket.hpp"
#include "mysensors/Vocabulary.hpp"
#include "ports/iAbstractPort.hpp"
#include "runtime/process/ConsoleApplication.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "shell/log/Globals.hpp"
#include "shell/log/Log.hpp"

namespace hearthix {

using HearthixSupport::HearthixSocket;
using HearthixSupport::WriteLog;

namespace {

Ref<cMSEndpoint> held(const Variant* entry) {
    return entry != nullptr ? Ref<cMSEndpoint>(entry->objectAs<cMSEndpoint>()) : nullptr;
}

// The form of a value. Hosts take 0 for on here; commands to a node have it the other way round.
void setValue(cHearthixCommand& message, const cMSCommand& command) {
    if (!IsNumeric(command.PayLoad)) {
        message.AddMulti("mcmd", "SetDesc");
        message.AddMulti("DATA", command.PayLoad);
    } else if (mySensors::isVarTypeDimmable(command.SubType)) {
        message.AddMulti("mcmd", "SetValue");
        message.AddMulti("Valu", command.PayLoad);
    } else {
        message.AddMulti("mcmd", Val(command.PayLoad) == 0 ? "ON" : "OFF");
    }
}

} // namespace

Ref<cMSEndpoint> cMSEndpoint::find(const String& rootAddress) {
    return held(mySensors::AddressIndex->find(rootAddress));
}

cMSEndpoint* cMSEndpoint::find(Integer node, Integer child) {
    return mySensors::AddressIndex->at(node, child);
}

Ref<cMSEndpoint> cMSEndpoint::create(Integer node, Integer child, Integer) {
    auto endpoint = Ref<cMSEndpoint>::make(node, child);
    endpoint->enter();
    return endpoint;
}

cMSEndpoint::cMSEndpoint(Integer node, Integer child)
    : nodeID(node), RootIndexString(mySensors::rootAddressOf(node, child)),
      subUnits(Ref<Dictionary>::make(std::size_t{1})), childID(child) {
}

void cMSEndpoint::enter() {
    const Ref<cMSEndpoint> self(this);
    const bool isNode = childID == mySensors::kNodeLevelChild;
    WriteLog(isNode ? concat("creating unit at node level for node: ", Globals::formatHexOfLowByte(nodeID))
                    : concat("creating child object at Address: ", RootIndexString));
    mySensors::AddressIndex->enter(nodeID, childID, self);
    if (isNode)
        return;
    cMSEndpoint* node = find(nodeID, mySensors::kNodeLevelChild);
    if (node == nullptr)
        throw KeyNotFoundException();
    node->subUnits->SetValue(RootIndexString, self);
}

// What the host is told about units: their creation, and their node's battery.

void cMSEndpoint::CreateHearthixUnitForVariableType(Integer variableType) {
    const String suffix = mySensors::varTypeToSuffix(variableType);
    cHearthixCommand request;
    request.SetMulti("mcmd", "NewU");
    request.SetMulti("addr", concat(RootIndexString, ".", suffix));
    if (DeviceName.empty())
        DeviceName = concat("(", RootIndexString, ")");
    request.SetMulti("Name", concat(DeviceName, " ", suffix));
    request.SetMulti("Dimm", MP::convertBoolToKey(mySensors::isVarTypeDimmable(variableType)));
    request.SetMulti("RdNL", MP::convertBoolToKey(mySensors::isVarTypeReadOnly(variableType)));
    request.SetMulti("List", "My Sensors");
    HearthixSocket->SendCommand(request);
}

void cMSEndpoint::CreateHearthixUnitForNode() {
    DeviceName = concat("mySensors node: ", Globals::formatHexOfLowByte(nodeID), " battery level");
    cHearthixCommand request;
    request.SetMulti("mcmd", "NewU");
    request.SetMulti("Sfix", "%");
    request.SetMulti("Name", DeviceName);
    request.SetMulti("Type", "Register");
    request.SetMulti("addr", RootIndexString);
    request.SetMulti("Dimm", "true");
    request.SetMulti("RdNL", "true");
    request.SetMulti("List", "My Sensors");
    HearthixSocket->SendCommand(request);
}

bool cMSEndpoint::getBatteryLevelFromNode() {
    const cMSEndpoint* node = find(nodeID, mySensors::kNodeLevelChild);
    if (node == nullptr)
        return false;
    batteryLevel = node->batteryLevel;
    return true;
}

void cMSEndpoint::SendOnlyBatteryLevel(Integer level) {
    batteryLevel = level;
    for (Integer i = 0; i < subUnits->Count(); ++i) {
        cHearthixCommand report;
        report.SetMulti("mcmd", "NoOp");
        report.SetMulti(
            "addr", concat(RootIndexString, ".", mySensors::varTypeToSuffix(subUnits->Key(i).toInteger())));
        report.SetMulti("Batt", Str(batteryLevel));
        HearthixSocket->SendCommand(report);
        RuntimeBackgroundTask();
    }
}

// From the mesh to the host.

void cMSEndpoint::HandleReceivedMSCommand(const cMSCommand& command) {
    if (command.childID == mySensors::kNodeLevelChild)
        handleNodeLevel(command);
    else if (command.messageType == mySensors::kSet)
        handleChildLevel(command);
}

void cMSEndpoint::handleNodeLevel(const cMSCommand& command) {
    const String node = Globals::formatHexOfLowByte(nodeID);
    if (command.messageType != mySensors::kInternal) {
        WriteLog(concat("node ", node, " received a node level message that wasn't an internal command: ",
                        command.RawCommand));
        return;
    }
    if (command.SubType != mySensors::kBatteryLevel) {
        WriteLog(concat("node ", node, " recevied a node level internal message that wasn't a batteryLevel: ",
                        command.RawCommand));
        return;
    }
    const Integer level = ValInteger(command.PayLoad);
    if (level == batteryLevel)
        return;
    batteryLevel = level;
    for (Integer i = 0; i < subUnits->Count(); ++i) {
        if (auto* child = subUnits->ValueAt(i).objectAs<cMSEndpoint>())
            child->SendOnlyBatteryLevel(batteryLevel);
        RuntimeBackgroundTask();
    }
}

bool cMSEndpoint::isNewType(Integer variableType) {
    const bool hasBit = variableType >= 0 && variableType < 64;
    const std::uint64_t bit = hasBit ? std::uint64_t{1} << static_cast<unsigned>(variableType) : 0;
    if ((seenTypes & bit) != 0)
        return false;
    if (subUnits->find(variableType) == nullptr)
        return true;
    seenTypes |= bit;
    return false;
}

void cMSEndpoint::handleChildLevel(const cMSCommand& command) {
    if (isNewType(command.SubType)) {
        WriteLog(concat("creating Hearthix Unit for ", command.HearthixAddressWithSubtype));
        CreateHearthixUnitForVariableType(command.SubType);
        String first = command.PayLoad;
        first.compact();
        subUnits->SetValue(command.SubType, first);
    }
    // One record for all values, which keeps its table's memory: nothing that sends another value runs until
    // this one is sent.
    static cHearthixCommand message;
    message.AddMulti("addr", command.HearthixAddressWithSubtype);
    setValue(message, command);
    if (getBatteryLevelFromNode())
        message.AddMulti("Batt", Str(batteryLevel));
    HearthixSocket->SendCommand(message);
    // The payload may be a part of a large chunk.
    message.MultiDict->Clear();
}

// From the host to the mesh: no queue, no retry, no acknowledgement.

void cMSEndpoint::handleReceivedHearthixCommand(const Ref<cHearthixCommand>& command) {
    const Integer variableType = mySensors::SuffixToVarType(NthField(command->GetMulti("addr"), ".", 2));
    const String word = command->GetMulti("mcmd");
    Integer messageType = mySensors::kSet;
    String payload;
    if (word == "ON") {
        payload = "1";
    } else if (word == "OFF") {
        payload = "0";
    } else if (word == "SetValue") {
        payload = command->GetMulti("Valu");
    } else if (word == "Qery") {
        messageType = mySensors::kRequest;
    } else {
        WriteLog("unsupported command from Hearthix");
        return;
    }
    const String line =
        concat(Str(nodeID), ";", Str(childID), ";", Str(messageType), ";0;", Str(variableType), ";", payload);
    WriteLog(concat("outgoing command (", line, ")"));
    Globals::gAbstractedPort->PortSendData(line + "\n");
}

} // namespace hearthix
