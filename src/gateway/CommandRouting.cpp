// Routes a command of the host to the endpoint of its address.
#include "gateway/cMySensors.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "shell/log/Log.hpp"

namespace hearthix {

using HearthixSupport::WriteLog;

namespace {

// Units outlive the driver, endpoints do not. A command to a unit without an endpoint creates one from the
// address.
Ref<cMSEndpoint> createFromAddress(const String& root) {
    return cMSEndpoint::createWithNode(ValInteger(concat("&h", Left(root, 2))),
                                       ValInteger(concat("&h", Right(root, 2))));
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
    Ref<cMSEndpoint> endpoint = mySensors::AddressIndex->at(root);
    if (endpoint.isNil())
        endpoint = createFromAddress(root);
    if (endpoint.isNil()) {
        WriteLog("worknode is nil in HandleHearthixCommand");
        return;
    }
    endpoint->handleReceivedHearthixCommand(command);
}

} // namespace hearthix
