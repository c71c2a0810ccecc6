// From the mesh to the host: what a message means for its endpoint.
#include "endpoints/cMSEndpoint.hpp"
#include "hostlink/cHearthixDeviceSocket.hpp"
#include "log/Globals.hpp"
#include "log/Log.hpp"
#include "runtime/process/ConsoleApplication.hpp"
#include "runtime/text/Numbers.hpp"
#include "vocabulary/Vocabulary.hpp"

namespace hearthix {

using HearthixSupport::WriteLog;

namespace {

// The form of a value. Hosts take 0 for on here; commands to a node have it the other way round.
void setValue(cHearthixCommand& message, const cMSCommand& command) {
    if (!IsNumeric(command.PayLoad)) {
        message.SetMulti("mcmd", "SetDesc");
        message.SetMulti("DATA", command.PayLoad);
    } else if (mySensors::isVarTypeDimmable(command.SubType)) {
        message.SetMulti("mcmd", "SetValue");
        message.SetMulti("Valu", command.PayLoad);
    } else {
        message.SetMulti("mcmd", Val(command.PayLoad) == 0 ? "ON" : "OFF");
    }
}

} // namespace

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
    if ((seenTypes_ & bit) != 0)
        return false;
    if (subUnits->find(variableType) == nullptr)
        return true;
    seenTypes_ |= bit;
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
    cHearthixCommand message;
    message.SetMulti("addr", command.HearthixAddressWithSubtype);
    setValue(message, command);
    if (getBatteryLevelFromNode())
        message.SetMulti("Batt", Str(batteryLevel));
    HearthixSupport::HearthixSocket->SendCommand(message);
}

} // namespace hearthix
