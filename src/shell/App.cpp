#include "shell/App.hpp"

#include "endpoints/cMSEndpoint.hpp"
#include "gateway/cMySensors.hpp"
#include "gateway/cPingTimer.hpp"
#include "hostlink/cHearthixDeviceSocket.hpp"
#include "mysensors/VarTypeConverter.hpp"
#include "ports/cIPStreamAbstractor.hpp"
#include "ports/cSerialPortAbstractor.hpp"
#include "runtime/process/Console.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "runtime/values/Clock.hpp"
#include "runtime/values/Random.hpp"
#include "shell/HearthixConnection.hpp"
#include "shell/log/Globals.hpp"
#include "shell/log/Log.hpp"

namespace hearthix {

namespace {

constexpr Integer kConnectSeconds = 15;
constexpr std::int64_t kTransport = 1;
constexpr std::int64_t kHostAddress = 2;
constexpr std::int64_t kHostPort = 3;
constexpr std::int64_t kConnectionID = 4;

void logDetail(const String& message) {
    if (Globals::DebugMode)
        Globals::writelog(message, 4);
}

} // namespace

Integer App::Event_Run(const Array<String>& arguments) {
    // For people who start the driver by hand. A host always passes more arguments.
    if (arguments.Ubound() < kConnectionID)
        PrintError(
            "usage: hearthix-mysensors DEVICE|IP HOST PORT ID [GATEWAY PORT]; see man hearthix-mysensors");
    if (arguments.Ubound() == 1) {
        printBanner();
        drain();
        return 0;
    }
    // Hosts know this text. Its version is independent of the banner and of the release.
    const String readyText = "mySensors Serial Remote Control interface version 1.2 (build 005) ready.";
    Random random;
    DoEvents(random.InRange(100, 500));
    if (!connectToHost(arguments)) {
        Print(concat("mySensors: Timeout waiting for answer from Hearthix", Chr(13)));
        drain();
        return 0;
    }
    mySensors::AddressIndex = Ref<mySensors::AddressTable>::make();
    mySensors::createVarTypeConverter();
    openGateway(arguments);
    Globals::gMySensors = Ref<cMySensors>::make();
    Globals::gAbstractedPort->PortSetParent(Globals::gMySensors);
    if (!Globals::DoQuit)
        Log::send(readyText, 2);
    HearthixSupport::handleWaitingCommands();
    runUntilQuit();
    drain();
    return 0;
}

void App::printBanner() const {
    for (const char* line : {"Hearthix mySensors Driver", "written by the Hearthix mySensors maintainers",
                             "version 1.1 (build 004)"})
        Print(String(line) + Chr(13));
}

bool App::connectToHost(const Array<String>& arguments) const {
    const Integer start = Ticks();
    // The first missing argument raises OutOfBoundsException.
    const String& address = arguments[kHostAddress];
    const Integer port = ValInteger(arguments[kHostPort]);
    HearthixSupport::OpenHearthixConnection(address, port, arguments[kConnectionID]);
    if (!HearthixSupport::WaitForHearthixConnection(kConnectSeconds))
        return false;
    logDetail(concat("Hearthix connection successful after: ", Str(Ticks() - start), " ticks."));
    return true;
}

void App::openGateway(const Array<String>& arguments) const {
    const String& transport = arguments[kTransport];
    if (transport != "IP") {
        logDetail(concat("mySensors making local serial connection to port named (", transport, ")"));
        Globals::gAbstractedPort =
            Ref<cSerialPortAbstractor>::make(transport, &HearthixSupport::serveHostOnly);
        return;
    }
    // Counted from the end, because hosts may insert other arguments.
    const String& address = arguments[arguments.Ubound() - 1];
    const Integer port = ValInteger(arguments[arguments.Ubound()]);
    logDetail(concat("mySensors making IP connection to (", address, ") port (", Str(port), ")"));
    Globals::gAbstractedPort = Ref<cIPStreamAbstractor>::make(address, port, &mySensors::gatewayIsAlive);
}

void App::runUntilQuit() const {
    while (!Globals::DoQuit) {
        DoEvents(200);
        RuntimeBackgroundTask();
    }
    Globals::gAbstractedPort->PortClose();
}

// Runs events for about a second, so that pending writes to the host are sent.
void App::drain() const {
    for (int i = 1; i <= 100; ++i) {
        DoEvents(10);
        RuntimeBackgroundTask();
    }
}

bool App::Event_UnhandledException(const RuntimeException& error) {
    Globals::LogStack(error);
    return false;
}

} // namespace hearthix
