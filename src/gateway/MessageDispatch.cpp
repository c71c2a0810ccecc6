// The switchboard of the gateway side: what becomes of each line.
#include "gateway/cMySensors.hpp"
#include "hostlink/cHearthixDeviceSocket.hpp"
#include "mysensors/Vocabulary.hpp"
#include "shell/log/Globals.hpp"
#include "shell/log/Log.hpp"

namespace hearthix {

using HearthixSupport::WriteLog;

namespace {

constexpr Integer kGatewayNode = 0;

} // namespace

void cMySensors::HandleMSCommand(const String& line) {
    const cMSCommand command(line);
    if (!command.good) {
        Globals::writelog(concat("failed to parse Command: (", line, ")"), 4);
        return;
    }
    switch (command.messageType) {
    case mySensors::kPresentation:
        WriteLog(concat("presentation packet from node: ", command.rootAddress, " (", command.PayLoad, ")"));
        break;
    case mySensors::kSet: handleSet(command); break;
    case mySensors::kInternal: handleInternal(command, line); break;
    default:
        if (Globals::DebugMode)
            WriteLog(concat("unhandled command (", line, ")"));
    }
}

void cMySensors::handleInternal(const cMSCommand& command, const String& line) {
    const String node = Globals::formatHexOfLowByte(command.nodeID);
    const String& payload = command.PayLoad;
    switch (command.SubType) {
    case mySensors::kBatteryLevel: handleBattery(command); break;
    case mySensors::kTime: sendTimeToNode(command.nodeID); break;
    case mySensors::kVersion: handleVersion(command); break;
    case mySensors::kIdRequest:
        waitingForID = IdRequest{command.nodeID, command.childID};
        CommandSupportModule::GetUnitsFromHearthix();
        break;
    case mySensors::kConfig: sendConfigToNode(command.nodeID, command.childID, "I"); break;
    case mySensors::kLogMessage:
        WriteLog(command.nodeID == kGatewayNode ? concat("Gateway Message: ", payload)
                                                : concat("Node Message: (", node, ") ", payload));
        break;
    case mySensors::kSketchName: WriteLog(concat("node (", node, ") sketch name: ", payload)); break;
    case mySensors::kSketchVersion: WriteLog(concat("node (", node, ") sketch version: ", payload)); break;
    case mySensors::kGatewayReady:
        WriteLog(command.nodeID == kGatewayNode ? concat("Gateway Ready: ", payload)
                                                : concat("Node: (", node, ") ", payload));
        break;
    default:
        if (Globals::DebugMode)
            WriteLog(concat("unhandled command: ", line));
    }
}

void cMySensors::handleVersion(const cMSCommand& command) {
    if (outstandingPing)
        outstandingPing = false;
    else
        WriteLog(concat("mySensors gateway reports version: ", command.PayLoad));
}

void cMySensors::handleSet(const cMSCommand& command) {
    // Held here: a host command that runs in a log line may put another endpoint into the index.
    Ref<cMSEndpoint> endpoint(cMSEndpoint::find(command.nodeID, command.childID));
    if (endpoint.isNil()) {
        if (cMSEndpoint::find(command.nodeID, mySensors::kNodeLevelChild) == nullptr)
            cMSEndpoint::create(command.nodeID, mySensors::kNodeLevelChild, mySensors::kNoDeviceType);
        endpoint = cMSEndpoint::create(command.nodeID, command.childID, command.SubType);
    }
    endpoint->HandleReceivedMSCommand(command);
}

// No step for the node's own endpoint here: a battery report usually comes from the node as a whole.
void cMySensors::handleBattery(const cMSCommand& command) {
    Ref<cMSEndpoint> endpoint(cMSEndpoint::find(command.nodeID, command.childID));
    if (endpoint.isNil())
        endpoint = cMSEndpoint::create(command.nodeID, command.childID, mySensors::kNoDeviceType);
    endpoint->HandleReceivedMSCommand(command);
}

} // namespace hearthix
