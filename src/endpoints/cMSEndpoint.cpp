#include "endpoints/cMSEndpoint.hpp"

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
using mySensors::AddressIndex;

Ref<mySensors::AddressTable> mySensors::AddressIndex;

void mySensors::AddressTable::enter(const Ref<cMSEndpoint>& endpoint) {
    SetValue(endpoint->RootIndexString, endpoint);
    auto& children = byNode_[lowByte(endpoint->nodeID)];
    children.resize(256);
    children[lowByte(endpoint->childID)] = endpoint.get();
}

Ref<cMSEndpoint> mySensors::AddressTable::at(const String& rootAddress) const {
    const Variant* entry = find(rootAddress);
    return Ref<cMSEndpoint>(entry != nullptr ? entry->objectAs<cMSEndpoint>() : nullptr);
}

Ref<cMSEndpoint> cMSEndpoint::create(Integer node, Integer child, Integer) {
    auto endpoint = Ref<cMSEndpoint>::make(node, child);
    if (child == mySensors::kNodeLevelChild) {
        WriteLog(concat("creating unit at node level for node: ", Globals::formatHexOfLowByte(node)));
        AddressIndex->enter(endpoint);
        return endpoint;
    }
    WriteLog(concat("creating child object at Address: ", endpoint->RootIndexString));
    AddressIndex->enter(endpoint);
    const Ref<cMSEndpoint> parent = AddressIndex->at(node, mySensors::kNodeLevelChild);
    if (parent.isNil())
        throw KeyNotFoundException();
    parent->subUnits->SetValue(endpoint->RootIndexString, endpoint);
    return endpoint;
}

Ref<cMSEndpoint> cMSEndpoint::createWithNode(Integer node, Integer child) {
    if (AddressIndex->at(node, mySensors::kNodeLevelChild).isNil())
        create(node, mySensors::kNodeLevelChild);
    return create(node, child);
}

cMSEndpoint::cMSEndpoint(Integer node, Integer child)
    : nodeID(node), RootIndexString(mySensors::rootAddressOf(node, child)),
      subUnits(Ref<Dictionary>::make(std::size_t{1})), childID(child) {
}

// Commands to the host that concern a unit as a whole: its creation and its battery level.

void cMSEndpoint::CreateHearthixUnitForVariableType(Integer variableType) {
    const String suffix = mySensors::varTypeToSuffix(variableType);
    // These two may log, so they come before the record is filled.
    const String dimmable = MP::convertBoolToKey(mySensors::isVarTypeDimmable(variableType));
    const String readOnly = MP::convertBoolToKey(mySensors::isVarTypeReadOnly(variableType));
    cHearthixCommand request;
    request.SetMulti("mcmd", "NewU");
    request.SetMulti("addr", concat(RootIndexString, ".", suffix));
    if (DeviceName.empty())
        DeviceName = concat("(", RootIndexString, ")");
    request.SetMulti("Name", concat(DeviceName, " ", suffix));
    request.SetMulti("Dimm", dimmable);
    request.SetMulti("RdNL", readOnly);
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
    const Ref<cMSEndpoint> node = AddressIndex->at(nodeID, mySensors::kNodeLevelChild);
    if (node.isNil())
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

// Messages of the mesh, for the host.

void cMSEndpoint::HandleReceivedMSCommand(const cMSCommand& command) {
    if (command.childID == mySensors::kNodeLevelChild)
        handleNodeLevel(command);
    else if (command.messageType == mySensors::kSet)
        handleChildLevel(command);
}

void cMSEndpoint::handleNodeLevel(const cMSCommand& command) {
    const auto logRejected = [&](const char* reason) {
        WriteLog(concat("node ", Globals::formatHexOfLowByte(nodeID), reason, command.RawCommand));
    };
    if (command.messageType != mySensors::kInternal) {
        logRejected(" received a node level message that wasn't an internal command: ");
        return;
    }
    if (command.SubType != mySensors::kBatteryLevel) {
        logRejected(" recevied a node level internal message that wasn't a batteryLevel: "); // (sic)
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

void cMSEndpoint::handleChildLevel(const cMSCommand& command) {
    const bool hasBit = command.SubType >= 0 && command.SubType < 64;
    const std::uint64_t bit = hasBit ? std::uint64_t{1} << static_cast<unsigned>(command.SubType) : 0;
    if ((seenTypes & bit) == 0 && !subUnits->HasKey(command.SubType)) {
        WriteLog(concat("creating Hearthix Unit for ", command.HearthixAddressWithSubtype));
        CreateHearthixUnitForVariableType(command.SubType);
        // The payload may share the memory of a large chunk, which this entry must not keep.
        String first = command.PayLoad;
        first.compact();
        subUnits->SetValue(command.SubType, first);
    }
    seenTypes |= bit;
    const bool isNumber = IsNumeric(command.PayLoad);
    // This may log, so it comes before the record is filled.
    const bool hasLevel = isNumber && mySensors::isVarTypeDimmable(command.SubType);
    // Optimised: one record for all values keeps the memory of its table. No other value can be sent
    // meanwhile.
    static cHearthixCommand message;
    message.AddMulti("addr", command.HearthixAddressWithSubtype);
    if (!isNumber) {
        message.AddMulti("mcmd", "SetDesc");
        message.AddMulti("DATA", command.PayLoad);
    } else if (hasLevel) {
        message.AddMulti("mcmd", "SetValue");
        message.AddMulti("Valu", command.PayLoad);
    } else {
        // Inverted on purpose: hosts expect ON for 0, while "ON" from a host sends 1.
        message.AddMulti("mcmd", Val(command.PayLoad) == 0 ? "ON" : "OFF");
    }
    if (getBatteryLevelFromNode())
        message.AddMulti("Batt", Str(batteryLevel));
    HearthixSocket->SendCommand(message);
    message.MultiDict->Clear(); // the payload may share the memory of a large chunk
}

// Commands of the host, for the mesh. There is no queue, no retry and no acknowledgement.

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
