// A gateway that is reached over a TCP connection.
//
// The constructor waits until it is connected, for at most 600 ticks, and runs events meanwhile. A gateway
// that sends data or fails during that time raises NilObjectException, because the port has no receiver yet.
#pragma once

#include "ports/iAbstractPort.hpp"
#include "runtime/events/TCPSocket.hpp"

namespace hearthix {

class cIPStreamAbstractor : public TCPSocket, public iAbstractPort {
public:
    // Called when the connection is established, the gateway's first sign of life.
    using ConnectedHandler = void (*)();

    cIPStreamAbstractor(const String& address, Integer port, ConnectedHandler onConnected);

    Ref<iAbstractPortReceiver> Parent;
    bool InitialFlush = false; // set on connection; unused

    void Event_DataAvailable() override;
    void Event_Error(const RuntimeException& error) override;
    void Event_Connected() override;
    void PortSetParent(const Ref<iAbstractPortReceiver>& receiver) override { Parent = receiver; }
    void PortSendData(const String& data) override { Write(data); }
    bool PortOpen() override;
    void PortClose() override { Close(); }
    void PortClear() override;
    // Discards all received bytes.
    void PortFlush() override;
    void PortPoll() override { Poll(); }
    // Polls, because a TCP connection has no transmit wait.
    void PortXmitWait() override { Poll(); }

private:
    void explain(const String& problem) const;
    String endpoint() const;

    ConnectedHandler onConnected_;
};

} // namespace hearthix
