#include "hostlink/cHearthixDeviceSocket.hpp"

#include "runtime/files/BinaryStream.hpp"
#include "runtime/process/Console.hpp"
#include "runtime/process/ConsoleApplication.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "shell/log/Globals.hpp"
#include "shell/log/Log.hpp"

namespace hearthix {

namespace {

constexpr Integer kSmallestMultipacket = 5; // bytes in the buffer before the first one is believed
constexpr std::size_t kCommonLengthOffset = 1;

} // namespace

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

void cHearthixDeviceSocket::Event_DataAvailable() {
    Buffer += ReadAll();
    while (LenB(Buffer) > 0) {
        if (LenB(Buffer) >= kSmallestMultipacket && LeftB(Buffer, 1) == "J") {
            if (takeMultipacket() == Turn::waitForMore)
                break;
        } else {
            takeCommonMessage();
        }
        RuntimeBackgroundTask();
    }
}

// Cut out before it is handled: a handler can run this event again.
String cHearthixDeviceSocket::cutFromBuffer(Integer length) {
    String packet = LeftB(Buffer, length);
    Buffer.removeFront(packet.size());
    return packet;
}

cHearthixDeviceSocket::Turn cHearthixDeviceSocket::takeMultipacket() {
    BinaryStream header(Buffer);
    header.Read(1);
    header.LittleEndian = true;
    const Integer length = header.ReadUInt16();
    header.Close();
    if (LenB(Buffer) < length)
        return Turn::waitForMore;
    const String packet = cutFromBuffer(length);
    const auto command = Ref<cHearthixCommand>::make();
    if (!command->initFromMultiPacket(packet)) {
        SendLog("mySensors: unable to parse multipacket", 1);
        return Turn::waitForMore;
    }
    handler_(command);
    return Turn::goOn;
}

// A message that is not all there leaves the buffer as it is, and the caller's loop looks at it again and
// again: the host delivers each common message in one piece.
void cHearthixDeviceSocket::takeCommonMessage() {
    const Integer length = Buffer.byteAt(kCommonLengthOffset);
    if (length > LenB(Buffer))
        return;
    const String packet = cutFromBuffer(length);
    const auto command = Ref<cHearthixCommand>::make();
    if (command->InitFromCommonMessage(packet))
        handler_(command);
    else
        SendLog("mySensors: Received malformed packet from host", 4);
}

void CommandSupportModule::GetUnitsFromHearthix() {
    cHearthixCommand request;
    request.SetMulti("mcmd", "getUnits");
    HearthixSupport::HearthixSocket->SendCommand(request);
}

} // namespace hearthix
