#include "hostlink/cHearthixDeviceSocket.hpp"

#include "runtime/process/Console.hpp"
#include "runtime/process/ConsoleApplication.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "shell/log/Globals.hpp"
#include "shell/log/Log.hpp"

namespace hearthix {

Ref<cHearthixDeviceSocket> HearthixSupport::HearthixSocket;

void HearthixSupport::logToHost() {
    Log::setSink([](const String& message, Integer level) { HearthixSocket->SendLog(message, level); },
                 [] { HearthixSocket->Poll(); });
}

void cHearthixDeviceSocket::Event_Connected() {
    Flush();
    Write(concat("MYSENSORS:", ConnectionID, Chr(13)));
}

void cHearthixDeviceSocket::Event_Error(const RuntimeException&) {
    Print(concat("Hearthix Pipe Error", EndOfLine));
    Globals::DoQuit = true;
}

void cHearthixDeviceSocket::SendCommand(cHearthixCommand& command) {
    Write(command.GetRawCommand());
}

void cHearthixDeviceSocket::SendLog(const String& message, Integer level) {
    String body = ChrB(level) + message;
    if (LenB(body) > Log::kLongestBody)
        body = Left(body, Log::kLongestBody);
    Write(concat("L", ChrB(LenB(body) + 2), body));
}

// An incomplete common message keeps this loop running without end, so the host must deliver each common
// message in one piece.
void cHearthixDeviceSocket::Event_DataAvailable() {
    constexpr std::size_t kLeastMultipacket = 5; // fewer bytes are always read as a common message
    Buffer += ReadAll();
    while (!Buffer.empty()) {
        const bool isMulti = Buffer.size() >= kLeastMultipacket && LeftB(Buffer, 1) == "J";
        const std::size_t length = Buffer.byteAt(1) + (isMulti ? 256U * Buffer.byteAt(2) : 0U);
        const bool isComplete = length <= Buffer.size();
        const bool goesOn = isComplete ? handlePacket(length, isMulti) : !isMulti;
        if (!goesOn)
            break;
        RuntimeBackgroundTask();
    }
}

// False if the loop must end. The packet leaves the buffer before it is handled, because the handler may run
// the data event again.
bool cHearthixDeviceSocket::handlePacket(std::size_t length, bool isMulti) {
    const String packet = Buffer.cut(0, length);
    Buffer.removeFront(length);
    const auto command = Ref<cHearthixCommand>::make();
    if (isMulti ? command->initFromMultiPacket(packet) : command->InitFromCommonMessage(packet)) {
        handler_(command);
        return true;
    }
    if (isMulti)
        SendLog("mySensors: unable to parse multipacket", 1);
    else
        SendLog("mySensors: Received malformed packet from host", 4);
    return !isMulti;
}

void CommandSupportModule::GetUnitsFromHearthix() {
    cHearthixCommand request;
    request.SetMulti("mcmd", "getUnits");
    HearthixSupport::HearthixSocket->SendCommand(request);
}

} // namespace hearthix
