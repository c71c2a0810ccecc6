// The interface of all connections to the gateway, and the interface of the object that receives their data.
#pragma once

#include "runtime/core/Object.hpp"
#include "runtime/text/String.hpp"

namespace hearthix {

// Receives the data and the failure of a port. A port without a receiver raises NilObjectException instead;
// it does not buffer.
class iAbstractPortReceiver : public virtual Object {
public:
    // The bytes of one read, which may begin and end anywhere in a message.
    virtual void PortDataAvailable(const String& data) = 0;
    // The message is empty; the code is the system's error number.
    virtual void PortError(const String& message, Integer code) = 0;
};

// A port opens in its constructor. It reports a failed send later, through PortError.
class iAbstractPort : public virtual Object {
public:
    virtual void PortSetParent(const Ref<iAbstractPortReceiver>& receiver) = 0;
    // Sends the bytes as they are, without a terminator.
    virtual void PortSendData(const String& data) = 0;
    // True when the port is open.
    virtual bool PortOpen() = 0;
    // Closing a closed port is allowed.
    virtual void PortClose() = 0;
    // Closes the port and releases the receiver.
    virtual void PortClear() = 0;
    // Clears the port's buffers.
    virtual void PortFlush() = 0;
    // Serves the port now and runs its events.
    virtual void PortPoll() = 0;
    // Waits until the sent bytes have left.
    virtual void PortXmitWait() = 0;
};

namespace Globals {
// The gateway's port; nil until its constructor has returned.
extern Ref<iAbstractPort> gAbstractedPort;
} // namespace Globals

} // namespace hearthix
