// From a command of the host to the endpoint that its address names.
#include "gateway/cMySensors.hpp"
#include "mysensors/Vocabulary.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "shell/log/Log.hpp"

namespace hearthix {

using HearthixSupport::WriteLog;

namespace {

// Units outlive the driver in the host, endpoints don't: a command for an unknown one makes it, from the
// address alone.
Ref<cMSEndpoint> createFromAddress(const String& root, const String& suffix) {
    const Integer variableType = mySensors::SuffixToVarType(suffix);
    const Integer node = ValInteger(concat("&h", Left(root, 2)));
    const Integer child = ValInteger(concat("&h", Right(root, 2)));
    if (cMSEndpoint::find(node, mySensors::kNodeLevelChild) == nullptr)
        cMSEndpoint::create(node, mySensors::kNodeLevelChild, mySensors::kNoDeviceType);
    return cMSEndpoint::create(node, child, variableType);
}

} // namespace

void cMySensors::HandleHearthixCommand(const Ref<cHearthixCommand>& command) {
    if (command->GetMulti("mcmd") == "setUnits") {
        gotUnitsFromHearthix(command);
        return;
    }
    String address;
    try {
        address = command->GetMulti("addr");
    } catch (const RuntimeException&) {
        WriteLog("unable to get address from MultiPacket");
        return;
    }
    if (CountFields(address, ".") != 2) {
        WriteLog("invalid address format. mySensors addresses must be 4 bytes of NodeID ChildID in hex "
                 "followed by a period and the name of the variable type. Command not sent.");
        return;
    }
    const String root = NthField(address, ".", 1);
    Ref<cMSEndpoint> endpoint = cMSEndpoint::find(root);
    if (endpoint.isNil())
        endpoint = createFromAddress(root, NthField(address, ".", 2));
    if (endpoint.isNil()) {
        WriteLog("worknode is nil in HandleHearthixCommand");
        return;
    }
    endpoint->handleReceivedHearthixCommand(command);
}

} // namespace hearthix
