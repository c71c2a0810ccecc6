// The host's end of the link: waits for a driver, splits its stream into packets, and sends packets.
//
// One driver can be connected at a time; a second one is refused. Each packet is sent in one write, which
// drivers rely on. A stream that cannot be split into packets ends the link.
#pragma once

#include "hostlink/cHearthixCommand.hpp"
#include "runtime/events/TCPSocket.hpp"
#include "sim/system/ListeningSocket.hpp"

#include <functional>
#include <initializer_list>

namespace hearthix::sim {

class HostServer {
public:
    // A driver has connected and sent its connection ID.
    std::function<void(const String& connectionId)> connected;
    std::function<void(const String& reason)> disconnected;
    // Every packet of the driver, log packets included.
    std::function<void(const Ref<cHearthixCommand>& packet)> received;
    std::function<void(const Ref<cHearthixCommand>& packet)> sent;
    // A sentence about the link for the user.
    std::function<void(const String& text)> noted;

    HostServer();
    ~HostServer();

    // Raises Failure when the address is unavailable.
    void listen(const String& address, Integer port);
    Integer port() const noexcept { return listener_->Port(); }
    bool hasDriver() const noexcept;
    // Sends the packets in one write. They are discarded when there is no driver.
    void send(std::initializer_list<Ref<cHearthixCommand>> packets);
    void drop(const String& reason);
    // While this is on, the host reads nothing.
    void stall(bool on) { stalled_ = on; }

private:
    class Link;

    void accept(int descriptor);
    void read(Link& link);
    bool takeGreeting(Link& link);
    bool takePacket(Link& link);

    Ref<ListeningSocket> listener_;
    Ref<Link> link_;
    bool stalled_ = false;
};

} // namespace hearthix::sim
