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
        explain(concat("speaks before the driver can listen; name it socket://", Address, ":", Str(Port),
                       ", in place of IP"));
    Parent->PortDataAvailable(ReadAll());
}

void cIPStreamAbstractor::Event_Error(const RuntimeException& error) {
    if (Parent.isNil())
        explain(
            concat("can't be had: ", error.Message, "; check its address and port, and whether it is on"));
    Parent->PortError(String(), LastErrorCode());
}

// Without a receiver the process ends in a stack dump, from which nobody learns what to do.
void cIPStreamAbstractor::explain(const String& trouble) const {
    PrintError(concat("the gateway at ", Address, ":", Str(Port), " ", trouble));
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
