// cHearthixDeviceSocket: the connection from the driver back to the host.
//
// It sends the opening line when the connection is up, cuts the host's byte stream into packets, passes each
// packet to its command handler, and sends commands and log lines. SendCommand and SendLog only buffer the
// bytes; the next Poll or pass of the event loop sends them.
//
// A handler that logs polls this socket, so the data event can run inside itself. Each packet leaves the
// buffer before it is handled, so none is handled twice.
//
// The framing trusts the host (see docs/host-link.md): an incomplete common message or a length of 0 keeps
// the data event in its loop without end.
#pragma once

#include "hostlink/cHearthixCommand.hpp"
#include "hostlink/PacketBoundary.hpp"
#include "runtime/events/TCPSocket.hpp"

namespace hearthix {

class cHearthixDeviceSocket : public TCPSocket {
public:
    using CommandHandler = void (*)(const Ref<cHearthixCommand>&);

    // The handler receives every packet that was read.
    explicit cHearthixDeviceSocket(CommandHandler handler) : handler_(handler) {}

    // Identifies this process to the host; set it before Connect.
    String ConnectionID;

    void Event_Connected() override;
    // Ends the driver, also when the host closes the connection.
    void Event_Error(const RuntimeException& error) override;
    void Event_DataAvailable() override;
    virtual void SendCommand(cHearthixCommand& command);
    // Sends at most 249 characters of the message.
    virtual void SendLog(const String& message, Integer level);

private:
    bool handlePacket(std::size_t length, bool isMulti);

    // Makes every read end with a packet, because a packet's first bytes alone would keep the data event in
    // its loop.
    void noteArrived(std::string_view bytes) override { boundary_.pass(bytes); }
    std::size_t missingBytes() const noexcept override { return boundary_.missing(); }

    CommandHandler handler_;
    PacketBoundary boundary_;
    String Buffer; // received and not yet cut into packets
};

namespace HearthixSupport {
// The one host socket. Nil until the connection is opened.
extern Ref<cHearthixDeviceSocket> HearthixSocket;

// Sends log lines to the current HearthixSocket.
void logToHost();
} // namespace HearthixSupport

namespace CommandSupportModule {
// Requests the unit list of the host. The reply is a later "setUnits" multipacket.
void GetUnitsFromHearthix();
} // namespace CommandSupportModule

} // namespace hearthix
