// cHearthixDeviceSocket: the one connection from the driver back to the host.
//
// It says who it is when the connection comes up, cuts the host's byte stream into packets, hands each to its
// command handler, and writes commands and log lines. SendCommand and SendLog only buffer; the bytes leave
// with the next Poll or pass of the event loop.
//
// A handler that logs polls this socket, so the data event can run again inside itself; every packet is gone
// from the buffer before it is handled, so none is handled twice.
//
// The framing trusts the host (docs/host-link.md says with what): a common message that has arrived only in
// part, and a length of 0, keep the event turning without end.
#pragma once

#include "hostlink/cHearthixCommand.hpp"
#include "hostlink/PacketBoundary.hpp"
#include "runtime/events/TCPSocket.hpp"

namespace hearthix {

class cHearthixDeviceSocket : public TCPSocket {
public:
    using CommandHandler = void (*)(const Ref<cHearthixCommand>&);

    // Gets every well-formed packet.
    explicit cHearthixDeviceSocket(CommandHandler handler) : handler_(handler) {}

    // Tells the host which of its children this is; set before Connect.
    String ConnectionID;

    void Event_Connected() override;
    // Any failure, the host's closing among them, ends the driver.
    void Event_Error(const RuntimeException& error) override;
    void Event_DataAvailable() override;
    virtual void SendCommand(cHearthixCommand& command);
    // Packs a line of at most 249 bytes; a longer one is cut.
    virtual void SendLog(const String& message, Integer level);

private:
    enum class Turn { goOn, waitForMore };

    Turn takeMultipacket();
    void takeCommonMessage();
    String cutFromBuffer(Integer length);

    // So that no portion of a long stream ends inside a packet's first bytes, which would hold the loop
    // above.
    void noteArrived(std::string_view bytes) override { boundary_.pass(bytes); }
    std::size_t missingBytes() const noexcept override { return boundary_.missing(); }

    CommandHandler handler_;
    PacketBoundary boundary_;
    String Buffer; // received and not yet cut into packets
};

namespace HearthixSupport {
// The one host socket; nil until the connection is opened.
extern Ref<cHearthixDeviceSocket> HearthixSocket;

// Makes the host socket, whichever it is at the time of a line, the sink of the log.
void logToHost();
} // namespace HearthixSupport

namespace CommandSupportModule {
// Asks the host for its list of units. The answer comes later, as a "setUnits" multipacket.
void GetUnitsFromHearthix();
} // namespace CommandSupportModule

} // namespace hearthix
