// From the host to the mesh: a command as one line to the node. No queue, no retry, no acknowledgement.
#include "endpoints/cMSEndpoint.hpp"
#include "log/Log.hpp"
#include "ports/iAbstractPort.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "vocabulary/Vocabulary.hpp"

namespace hearthix {

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
        HearthixSupport::WriteLog("unsupported command from Hearthix");
        return;
    }
    const String line =
        concat(Str(nodeID), ";", Str(childID), ";", Str(messageType), ";0;", Str(variableType), ";", payload);
    HearthixSupport::WriteLog(concat("outgoing command (", line, ")"));
    Globals::gAbstractedPort->PortSendData(line + "\n");
}

} // namespace hearthix
