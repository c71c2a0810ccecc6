#include "ports/cIPStreamAbstractor.hpp"

#include "runtime/process/Console.hpp"
#include "runtime/process/ConsoleApplication.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "runtime/values/Clock.hpp"
#include "shell/log/Globals.hpp"
#include "shell/log/Log.hpp"

namespace hearthix {

namespace {

constexpr Integer kOpeningTicks = 600;

} // namespace

cIPStreamAbstractor::cIPStreamAbstractor(const String& address, Integer port, ConnectedHandler onConnected)
    : onConnected_(onConnected) {
    Address = address;
    Port = port;
    if (cIPStreamAbstractor::PortOpen()) {
        Flush();
        return;
    }
    Log::send(concat("IP Open  to ", Address, ":", Str(Port), " failed."), 2);
    Globals::DoQuit = true;
}

bool cIPStreamAbstractor::PortOpen() {
    if (Globals::DebugMode)
        Globals::writelog("mySensors opening IP connection, polling and waiting...", 4);
    Connect();
    const Integer start = Ticks();
    while (Ticks() - start < kOpeningTicks && !IsConnected()) {
        Poll();
        ConsoleApplication::DoEvents(250);
        RuntimeBackgroundTask();
    }
    if (Globals::DebugMode) {
        const String ticks = Str(Ticks() - start);
        Globals::writelog(concat(IsConnected() ? "mySensors Connection is open after "
                                               : "mySensors Connection failed to open after ",
                                 ticks, " ticks."),
                          4);
    }
    return IsConnected();
}

void cIPStreamAbstractor::Event_Connected() {
    if (Globals::DebugMode)
        Globals::writelog("mySensors Device connection event. ", 4);
    InitialFlush = true;
    onConnected_();
}

void cIPStreamAbstractor::Event_DataAvailable() {
    if (Parent.isNil())
        explain(
            concat("sends data before the driver is ready; use socket://", endpoint(), " in place of IP"));
    Parent->PortDataAvailable(ReadAll());
}

void cIPStreamAbstractor::Event_Error(const RuntimeException& error) {
    if (Parent.isNil())
        explain(
            concat("is unavailable: ", error.Message, "; check its address and port, and whether it is on"));
    Parent->PortError(String(), LastErrorCode());
}

// Printed before the stack dump, which does not say what to do.
void cIPStreamAbstractor::explain(const String& problem) const {
    PrintError(concat("the gateway at ", endpoint(), " ", problem));
}

// The address and the port as one text, with an IPv6 address in brackets.
String cIPStreamAbstractor::endpoint() const {
    const bool isIPv6 = InStr(1, Address, ":") > 0;
    return concat(isIPv6 ? "[" : "", Address, isIPv6 ? "]:" : ":", Str(Port));
}

void cIPStreamAbstractor::PortClear() {
    Close();
    Parent = nullptr;
}

void cIPStreamAbstractor::PortFlush() {
    const String dropped = ReadAll();
    if (Globals::DebugMode)
        Log::send(concat("port flush reads ", Str(LenB(dropped)), " bytes."), 4);
}

} // namespace hearthix
