#include "shell/CommandDispatch.hpp"

#include "gateway/cMySensors.hpp"
#include "hostlink/cHearthixDeviceSocket.hpp"
#include "ports/iAbstractPort.hpp"
#include "shell/log/Globals.hpp"
#include "shell/log/Log.hpp"

namespace hearthix {

using HearthixSupport::HearthixSocket;

namespace {

void quit(const String& notice) {
    Log::send(notice, 2);
    Globals::DoQuit = true;
}

void handleControllerCommand(const cHearthixCommand& command) {
    const String& code = command.Command;
    if (code == "Q") {
        quit("The drugre has been asked to quit. (1)"); // (sic)
    } else if (code == "P") {
        quit("The drugre has been asked to quit. (2)");
    } else if (code == "D") {
        Globals::DebugMode = !Globals::DebugMode;
        HearthixSupport::WriteLog(Globals::DebugMode ? "mySensors debug mode is now: ON"
                                                     : "mySensors debug mode is now: OFF");
    } else if (code == "X") {
        Globals::gAbstractedPort->PortSendData(command.GetSendRawData());
    }
}

void answerPing() {
    cHearthixCommand answer;
    answer.SetMulti("mcmd", "PSrp");
    HearthixSocket->SendCommand(answer);
}

void setDebugMode(bool on) {
    Globals::DebugMode = on;
    HearthixSupport::WriteLog(on ? "MySensors plugin debug mode is now on"
                                 : "MySensors plugin debug mode is now off'"); // (sic)
}

} // namespace

void CommandSupportModule::HandleIncomingCommand(const Ref<cHearthixCommand>& command) {
    if (command->fCCM) {
        handleControllerCommand(*command);
        return;
    }
    const String word = command->GetMulti("mcmd");
    if (word == "ping") {
        answerPing();
    } else if (word == "close") {
        Globals::writelog("MySensors Plugin shutting down...", 2);
        Globals::DoQuit = true;
    } else if (word == "debug") {
        setDebugMode(command->GetMulti("Valu") == "true");
    } else {
        Globals::gMySensors->HandleHearthixCommand(command);
    }
}

} // namespace hearthix
