// A gateway at the end of a TCP stream.
//
// The constructor connects and doesn't return before the connection is up or 600 ticks have passed; events of
// the host run meanwhile. A gateway that speaks or fails in that time meets a port without a receiver.
#pragma once

#include "ports/iAbstractPort.hpp"
#include "runtime/events/TCPSocket.hpp"

namespace hearthix {

class cIPStreamAbstractor : public TCPSocket, public iAbstractPort {
public:
    // Called when the connection comes up, which is the gateway's first sign of life.
    using ConnectedHandler = void (*)();

    cIPStreamAbstractor(const String& address, Integer port, ConnectedHandler onConnected);

    Ref<iAbstractPortReceiver> Parent;
    bool InitialFlush = false; // set on connection. Kept for callers; nothing here uses it

    void Event_DataAvailable() override;
    void Event_Error(const RuntimeException& error) override;
    void Event_Connected() override;
    void PortSetParent(const Ref<iAbstractPortReceiver>& receiver) override { Parent = receiver; }
    void PortSendData(const String& data) override { Write(data); }
    bool PortOpen() override;
    void PortClose() override { Close(); }
    void PortClear() override;
    // Reads everything and drops it.
    void PortFlush() override;
    void PortPoll() override { Poll(); }
    // A TCP stream has nothing like a transmit wait: polls.
    void PortXmitWait() override { Poll(); }

private:
    void explain(const String& trouble) const;

    ConnectedHandler onConnected_;
};

} // namespace hearthix
