// What the host is told about units: their creation, and their node's battery.
#include "endpoints/cMSEndpoint.hpp"
#include "hostlink/cHearthixDeviceSocket.hpp"
#include "log/Globals.hpp"
#include "runtime/process/ConsoleApplication.hpp"
#include "runtime/text/Numbers.hpp"
#include "vocabulary/Vocabulary.hpp"

namespace hearthix {

using HearthixSupport::HearthixSocket;

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

} // namespace hearthix
