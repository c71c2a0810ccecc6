#include "gateway/cPingTimer.hpp"

#include "gateway/cMySensors.hpp"
#include "shell/log/Globals.hpp"
#include "shell/log/Log.hpp"

namespace hearthix {

Ref<cPingTimer> mySensors::gPingTimer;

cPingTimer::cPingTimer() {
    setPeriod(10'000);
    setMode(kModeSingle);
}

void cPingTimer::resetTimeout() {
    pingSent = false;
    setMode(kModeSingle);
}

void cPingTimer::Event_Action() {
    if (pingSent) {
        HearthixSupport::WriteLog(
            "timeout waiting for ping from mySensors gateway. Restarting connection...");
        Globals::DoQuit = true;
        return;
    }
    pingSent = true;
    Globals::gMySensors->outstandingPing = true;
    Globals::gMySensors->requestVersion();
    setMode(kModeSingle);
}

void mySensors::gatewayIsAlive() {
    if (gPingTimer)
        gPingTimer->resetTimeout();
    else
        gPingTimer = Ref<cPingTimer>::make();
}

} // namespace hearthix
