// Dispatches each line from the gateway by its message type.
#include "gateway/cMySensors.hpp"
#include "hostlink/cHearthixDeviceSocket.hpp"
#include "mysensors/Vocabulary.hpp"
#include "runtime/text/StringFunctions.hpp"
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
    case mySensors::kBatteryLevel: handleBattery(command, line); break;
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

// Both keep a reference to the endpoint: a host command that runs inside a log line may replace it in the
// index.

void cMySensors::handleSet(const cMSCommand& command) {
    Ref<cMSEndpoint> endpoint = mySensors::AddressIndex->at(command.nodeID, command.childID);
    if (endpoint.isNil())
        endpoint = cMSEndpoint::createWithNode(command.nodeID, command.childID);
    endpoint->HandleReceivedMSCommand(command);
}

void cMySensors::handleBattery(const cMSCommand& command, const String& line) {
    Ref<cMSEndpoint> endpoint = mySensors::AddressIndex->at(command.nodeID, command.childID);
    try {
        // The endpoint of the node is not created here, since a battery report usually comes from the node
        // itself.
        if (endpoint.isNil())
            endpoint = cMSEndpoint::create(command.nodeID, command.childID);
    } catch (KeyNotFoundException& error) {
        // For the message on standard error with which the process ends.
        error.Message =
            concat("the gateway line \"", LeftB(line, Log::kLongestBody),
                   "\" reports the battery of a child of an unknown node; let the sketch report it "
                   "with child 255, or after a value");
        throw;
    }
    endpoint->HandleReceivedMSCommand(command);
}

} // namespace hearthix
