#include "shell/HearthixConnection.hpp"

#include "hostlink/cHearthixDeviceSocket.hpp"
#include "runtime/process/ConsoleApplication.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "runtime/values/Clock.hpp"
#include "shell/CommandDispatch.hpp"

#include <vector>

namespace hearthix {

namespace {

bool isGatewayOpening = false;
std::vector<Ref<cHearthixCommand>> waiting;
std::size_t waitingBytes = 0;

bool mustWait(const cHearthixCommand& command) {
    const String word = command.fCCM ? String() : command.GetMulti("mcmd");
    if (!waiting.empty() || word == "ping")
        return word != "ping";
    return command.fCCM ? command.Command == "X" : word != "close" && word != "debug";
}

void receiveCommand(const Ref<cHearthixCommand>& command) {
    if ((isGatewayOpening || !waiting.empty()) && mustWait(*command)) {
        waiting.push_back(command);
        waitingBytes += command->RawCommonCommand.size();
    } else {
        CommandSupportModule::HandleIncomingCommand(command);
    }
}

} // namespace

String CommandSupportModule::cr;

void HearthixSupport::OpenHearthixConnection(const String& address, Integer port,
                                             const String& connectionID) {
    if (HearthixSocket) {
        if (HearthixSocket->IsConnected())
            HearthixSocket->Close();
        HearthixSocket = nullptr;
    }
    HearthixSocket = Ref<cHearthixDeviceSocket>::make(&receiveCommand);
    logToHost();
    CommandSupportModule::cr = Chr(13);
    HearthixSocket->Address = address.empty() ? String("127.0.0.1") : address;
    HearthixSocket->Port = port == 0 ? 20300 : port;
    HearthixSocket->ConnectionID = connectionID;
    HearthixSocket->receiveBuffer = 256 * 1024; // so that "close" does not wait behind megabytes
    HearthixSocket->Connect();
}

bool HearthixSupport::WaitForHearthixConnection(Integer seconds) {
    constexpr Integer kTicksPerSecond = 60;
    const Integer start = Ticks();
    while (!HearthixSocket->IsConnected() && Ticks() - start < seconds * kTicksPerSecond) {
        ConsoleApplication::DoEvents(10);
        HearthixSocket->Poll();
        RuntimeBackgroundTask();
    }
    return HearthixSocket->IsConnected();
}

void HearthixSupport::serveHostOnly() {
    constexpr std::size_t kMostWaitingBytes = 65536;
    constexpr Integer kMilliseconds = 10;
    isGatewayOpening = true;
    if (waitingBytes < kMostWaitingBytes)
        ConsoleApplication::DoEvents(kMilliseconds);
    else
        clocks::sleep(kMilliseconds * clocks::kMillisecond);
    isGatewayOpening = false;
}

void HearthixSupport::handleWaitingCommands() {
    while (!waiting.empty()) {
        // While this command runs, another one may arrive from the host. It must run after all commands that
        // are waiting.
        const Ref<cHearthixCommand> next = waiting.front();
        waiting.erase(waiting.begin());
        CommandSupportModule::HandleIncomingCommand(next);
    }
    waitingBytes = 0;
}

} // namespace hearthix
