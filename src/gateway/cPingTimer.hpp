// cPingTimer: the watchdog over the gateway's stream.
//
// Ten seconds without a byte from the gateway, and it asks for the gateway's version, as a ping; ten more,
// and it ends the process. Any byte puts it back to the start.
#pragma once

#include "runtime/events/Timer.hpp"

namespace hearthix {

class cPingTimer : public Timer {
public:
    cPingTimer();

    bool pingSent = false; // a ping is out, and nothing has come since

    void Event_Action() override;
    virtual void resetTimeout();
};

namespace mySensors {

// Nil until the gateway's first sign of life.
extern Ref<cPingTimer> gPingTimer;

// A sign of life from the gateway: starts the watchdog, or puts it back to the start.
void gatewayIsAlive();

} // namespace mySensors
} // namespace hearthix
