// The driver's end of the host link, for check-host: it judges every byte that a host sends.
//
// It cuts the stream into packets as docs/host-link.md describes, records in the verdicts each packet that
// breaks a rule, and passes the packets on. It closes the link if the stream cannot be split into packets any
// more.
//
// A packet in pieces is recognised by a pause inside it. A pause counts only if this process ran meanwhile
// and received nothing, so that a busy machine is not mistaken for a faulty host. Pieces without such a pause
// are not recognised.
#pragma once

#include "hostlink/cHearthixCommand.hpp"
#include "runtime/events/TCPSocket.hpp"
#include "runtime/values/Clock.hpp"
#include "sim/Alarm.hpp"
#include "sim/HostRules.hpp"
#include "sim/SocketAddress.hpp"

#include <functional>
#include <utility>
#include <vector>

namespace hearthix::sim {

class ProbeLink : public TCPSocket {
public:
    explicit ProbeLink(Verdicts& verdicts);

    // Receives a packet, and the number of the read that returned its last byte.
    std::function<void(const cHearthixCommand& packet, Integer read)> received;

    // Connects, and introduces itself with this connection ID.
    void open(const SocketAddress& host, const String& connectionId);
    // Whether the link has failed, or was closed by either end.
    bool hasEnded() const noexcept { return ended_; }
    // Whether the link was closed because the host's bytes could not be split into packets.
    bool hasGivenUp() const noexcept { return givenUp_; }
    // Sends the buffered packets, then closes the link.
    void end();

    // Each call sends one packet at once.
    void send(const std::vector<std::pair<const char*, String>>& entries);
    void log(const String& text, Integer level = 2);

private:
    void Event_Connected() override;
    void Event_DataAvailable() override;
    void Event_Error(const RuntimeException&) override;
    bool takePacket();
    bool takeCommon(const String& bytes);
    bool takeMulti(const String& bytes);
    bool giveUp(Rule rule, const String& what);
    void noteQuiet();

    Verdicts& verdicts_;
    String connectionId_;
    String buffer_;
    Alarm tick_;
    int quietTicks_ = 0;
    clocks::Nanoseconds lastByteAt_ = 0;
    clocks::Nanoseconds pause_ = 0; // the longest one inside the current packet
    std::size_t pauseAfter_ = 0;    // the number of its bytes before that pause
    Integer reads_ = 0;
    bool ended_ = false;
    bool givenUp_ = false;
};

} // namespace hearthix::sim
