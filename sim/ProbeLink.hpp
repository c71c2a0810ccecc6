// The driver's end of the host link, for check-host: it judges every byte that a host sends.
//
// It cuts the stream into packets as docs/host-link.md describes them, reports what breaks a rule about
// packets to the verdicts, and passes the packets on. Where the stream can't be followed any more it closes
// the link.
//
// A packet in pieces shows as a pause inside it. Only a pause in which this process ran and found nothing
// counts: a busy machine must not look like a careless host. Pieces without such a pause look like one piece.
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

    // A packet, and the number of the read that brought its last byte.
    std::function<void(const cHearthixCommand& packet, Integer read)> received;

    // Connects, and introduces itself with this connection ID.
    void open(const SocketAddress& host, const String& connectionId);
    // Whether the link has failed, or was closed by either end.
    bool hasEnded() const noexcept { return ended_; }
    // Whether it has ended because the host's bytes could not be followed any more.
    bool hasGivenUp() const noexcept { return givenUp_; }
    // Closes the link; what was sent leaves first.
    void end();

    // One packet each, which leaves at once.
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
    clocks::Nanoseconds pause_ = 0; // the longest one inside the packet that has begun
    std::size_t pauseAfter_ = 0;    // so many of its bytes
    Integer reads_ = 0;
    bool ended_ = false;
    bool givenUp_ = false;
};

} // namespace hearthix::sim
