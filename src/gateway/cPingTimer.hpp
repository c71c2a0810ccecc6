// cPingTimer: the watchdog over the gateway's stream.
//
// After ten seconds without a byte from the gateway it sends a ping (a version request). After ten more
// seconds it ends the process. Every byte restarts it.
#pragma once

#include "runtime/events/Timer.hpp"

namespace hearthix {

class cPingTimer : public Timer {
public:
    cPingTimer();

    bool pingSent = false; // a ping was sent, and no byte has arrived since

    void Event_Action() override;
    virtual void resetTimeout();
};

namespace mySensors {

// Nil until the gateway has connected or sent a byte.
extern Ref<cPingTimer> gPingTimer;

// Starts or restarts the watchdog.
void gatewayIsAlive();

} // namespace mySensors
} // namespace hearthix
