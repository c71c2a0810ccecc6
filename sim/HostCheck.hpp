// Acts as the driver for a host, reproduces the events of a driver's life, and judges the reactions of the
// host.
//
// The check either connects to the host by itself, twice, or acts as each driver that the host starts, until
// a driver has ended in each possible way. HostCheck.cpp implements the sequence of the check,
// HostCheckActs.cpp the conversation on a link.
#pragma once

#include "sim/DriverStarts.hpp"
#include "sim/HostOperator.hpp"
#include "sim/HostRules.hpp"
#include "sim/ProbeLink.hpp"

#include <optional>
#include <vector>

namespace hearthix::sim {

class HostCheck {
public:
    HostCheck(Verdicts& verdicts, const HostOperator& person);

    // Connects to the host. Raises Failure if the host does not listen.
    void connectTo(const SocketAddress& host, const String& connectionId);
    // Acts as each driver that the host starts.
    void play(DriverStarts& starts);
    // Call it afterwards, while the link is still open. Requests that the host end the driver.
    void letHostQuit();

private:
    // A packet from the host, or the answer to its ping.
    struct Event {
        String word;
        String bytes;
        Integer read = 0; // the number of the read that completed it
        String address = {};
        String value = {};
        clocks::Nanoseconds at = clocks::monotonic();
    };

    bool connect(const SocketAddress& host, const String& connectionId);
    bool awaitStart(DriverStarts& starts, const char* lastEnd);
    void judgePauses();
    void receive(const cHearthixCommand& packet, Integer read);
    void receiveCommand(const Event& event);
    void obey(const Event& event);
    void receiveList(const cHearthixCommand& packet);
    void note(const Event& event);
    // The first such event at or after an index; null if there is none.
    const Event* find(const String& word, const String& address, std::size_t from) const;

    // Acts. Each begins on a new link.
    void session();
    void earlyCommand();
    void becomeReady();
    // Parts of a session.
    void createUnits();
    void createUnit(const String& address, const String& name);
    void sendValue(const String& address, const String& value);
    void sendManyValues();
    bool requestList(ProbeLink& link);
    void judgeList();
    void judgeLongList();
    bool judgeDocument();
    void judgeSet(const String& value);
    void judgeShown(Rule rule, const String& address, const String& value);
    void judgeOrder();
    void judgeSecondLink();

    Verdicts& verdicts_;
    const HostOperator& person_;
    SocketAddress host_;
    String connectionId_;
    Ref<ProbeLink> link_;
    bool ready_ = false;
    bool askedToEnd_ = false;
    Alarm answer_;
    int pings_ = 0; // pings without an answer yet
    std::vector<Event> events_;
    bool expectsLongList_ = false;
    std::optional<String> list_; // the answer to the latest request
    String listPacket_;
    std::vector<String> listed_;  // the addresses in the list
    std::vector<String> created_; // the addresses of the units, without those of the long list
    std::vector<clocks::Nanoseconds> pauses_;
};

} // namespace hearthix::sim
