// The receive path, from the port's bytes to lines, and the reply to a node that requests an ID.
#include "gateway/cMySensors.hpp"

#include "endpoints/cMSEndpoint.hpp"
#include "gateway/cPingTimer.hpp"
#include "gateway/NodeIds.hpp"
#include "runtime/process/ConsoleApplication.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "shell/log/Globals.hpp"
#include "shell/log/Log.hpp"

namespace hearthix {

namespace {

constexpr double kStaleSeconds = 5.0;
constexpr char kLineFeed = '\n';

} // namespace

Ref<cMySensors> Globals::gMySensors;

void cMySensors::PortDataAvailable(const String& data) {
    if (Globals::DebugMode)
        HearthixSupport::WriteLog(concat("read from port: (", Trim(data), ")"));
    mySensors::gatewayIsAlive();
    dropStaleBytes();

    // The old content has no line feed, so the search begins after it.
    std::size_t lineEnd = buffer.size();
    buffer += data;
    lineEnd = buffer.view().find(kLineFeed, lineEnd);
    while (lineEnd != std::string_view::npos) {
        const String line = buffer.part(trimmed(buffer.view().substr(0, lineEnd)));
        buffer.removeFront(lineEnd + 1);
        lineEnd = buffer.view().find(kLineFeed);
        HandleMSCommand(line);
        RuntimeBackgroundTask();
    }
    // A fragment may stay here for hours and must not keep the memory of a whole chunk.
    buffer.compact();
}

// Measures the gap between two arrivals, not the age of the buffer.
void cMySensors::dropStaleBytes() {
    const Date now;
    if (LastDataRead && !buffer.empty() &&
        now.TotalSeconds() - LastDataRead->TotalSeconds() > kStaleSeconds) {
        Globals::writelog(concat("stale data in buffer. Throwing away ", Str(LenB(buffer)),
                                 " bytes: ", Globals::Hexify(LeftB(buffer, Log::kLongestBody))),
                          4);
        buffer = String();
    }
    LastDataRead = now;
}

void cMySensors::PortError(const String& message, Integer code) {
    Globals::writelog(concat("mySensors communication error: ", Str(code), " - ", message), 4);
    Globals::DoQuit = true;
}

void cMySensors::gotUnitsFromHearthix(const Ref<cHearthixCommand>& command) {
    // A local reference, because a log line below may run the arrival of another list.
    const auto units = Ref<CXML>::make();
    unitXMLFromHearthix = units;
    try {
        units->loadFromString(command->GetMulti("DATA"));
    } catch (const RuntimeException&) {
        HearthixSupport::WriteLog("Hearthix sent no valid data in response to asking for units");
    }
    if (!waitingForID)
        return;
    const Integer id = mySensors::chooseNodeId(*units);
    if (id == mySensors::kNoIdLeft) {
        HearthixSupport::WriteLog("node requests new ID but all slots are full.");
        return;
    }
    const String reply =
        concat(Str(waitingForID->nodeID), ";", Str(waitingForID->childID), ";3;0;4;", Str(id));
    if (Globals::DebugMode)
        HearthixSupport::WriteLog(concat("set ID packet: ", reply));
    HearthixSupport::WriteLog(concat("responding to node ID request with ID: ", Str(id)));
    waitingForID.reset();
    Globals::gAbstractedPort->PortSendData(reply + "\n");
}

} // namespace hearthix
