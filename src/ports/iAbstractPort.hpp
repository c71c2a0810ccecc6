// One interface over the ways to reach the gateway, and the one that a port calls back.
#pragma once

#include "runtime/core/Object.hpp"
#include "runtime/text/String.hpp"

namespace hearthix {

// Gets what a port receives. A port that has no receiver when data or a failure arrive raises
// NilObjectException: nothing is kept for a later one.
class iAbstractPortReceiver : public virtual Object {
public:
    // Bytes in whatever pieces they arrived; a piece has no relation to a message.
    virtual void PortDataAvailable(const String& data) = 0;
    // A failure of the port. The code is the system's error number.
    virtual void PortError(const String& message, Integer code) = 0;
};

// A port opens in its constructor. A failing send is told later, through PortError.
class iAbstractPort : public virtual Object {
public:
    virtual void PortSetParent(const Ref<iAbstractPortReceiver>& receiver) = 0;
    // Sends the bytes as they are, without a terminator.
    virtual void PortSendData(const String& data) = 0;
    // True when the port is open.
    virtual bool PortOpen() = 0;
    // Closing a closed port is allowed.
    virtual void PortClose() = 0;
    // Closes, and forgets the receiver.
    virtual void PortClear() = 0;
    // Clears the port's buffers.
    virtual void PortFlush() = 0;
    // Lets the port do its pending work now.
    virtual void PortPoll() = 0;
    // Waits until what was sent has left.
    virtual void PortXmitWait() = 0;
};

namespace Globals {
// The gateway's port; nil until start-up has opened it.
extern Ref<iAbstractPort> gAbstractedPort;
} // namespace Globals

} // namespace hearthix
