#include "shell/HearthixConnection.hpp"

#include "hostlink/cHearthixDeviceSocket.hpp"
#include "runtime/process/ConsoleApplication.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "runtime/values/Clock.hpp"
#include "shell/CommandDispatch.hpp"

namespace hearthix {

namespace {

constexpr Integer kTicksOfSecond = 60;

} // namespace

String CommandSupportModule::cr;

void HearthixSupport::OpenHearthixConnection(const String& address, Integer port,
                                             const String& connectionID) {
    if (HearthixSocket) {
        if (HearthixSocket->IsConnected())
            HearthixSocket->Close();
        HearthixSocket = nullptr;
    }
    HearthixSocket = Ref<cHearthixDeviceSocket>::make(&CommandSupportModule::HandleIncomingCommand);
    logToHost();
    CommandSupportModule::cr = Chr(13);
    HearthixSocket->Address = address.empty() ? String("127.0.0.1") : address;
    HearthixSocket->Port = port == 0 ? 20300 : port;
    HearthixSocket->ConnectionID = connectionID;
    HearthixSocket->Connect();
}

bool HearthixSupport::WaitForHearthixConnection(Integer seconds) {
    const Integer start = Ticks();
    while (!HearthixSocket->IsConnected() && Ticks() - start < seconds * kTicksOfSecond) {
        ConsoleApplication::DoEvents(10);
        HearthixSocket->Poll();
        RuntimeBackgroundTask();
    }
    return HearthixSocket->IsConnected();
}

} // namespace hearthix
