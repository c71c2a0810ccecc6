#include "sim/HostCheck.hpp"

#include "runtime/process/Console.hpp"
#include "sim/Failure.hpp"
#include "sim/Mesh.hpp"
#include "sim/Waiting.hpp"

#include <array>

namespace hearthix::sim {

namespace {

constexpr Integer kConnectMilliseconds = 15'000;
constexpr Integer kFirstStartMilliseconds = 600'000;
// The longest permitted pause of a minute, and time to start the program on a busy machine.
constexpr Integer kRestartMilliseconds = 70'000;
constexpr Integer kDrainMilliseconds = 1000;
constexpr Integer kPingMilliseconds = 200;

constexpr clocks::Nanoseconds kNotice = 300 * clocks::kMillisecond;
constexpr clocks::Nanoseconds kMuch = 2 * clocks::kSecond;

// Limits the memory that a host can fill.
constexpr std::size_t kMostEvents = 100'000;

bool isForUnit(const String& word) {
    return word == "ON" || word == "OFF" || word == "SetValue" || word == "Qery";
}

bool isForDriver(const String& word) {
    return word == "ping" || word == "close" || word == "debug";
}

} // namespace

HostCheck::HostCheck(Verdicts& verdicts, const HostOperator& person) : verdicts_(verdicts), person_(person) {
    ensureVocabulary();
    // The answer is delayed, which shows whether the host waits for it.
    answer_.action = [this] {
        for (; pings_ > 0; --pings_) {
            link_->send({{"mcmd", "PSrp"}});
            note({"PSrp", {}, 0});
        }
    };
}

bool HostCheck::connect(const SocketAddress& host, const String& connectionId) {
    host_ = host;
    connectionId_ = connectionId;
    ready_ = false;
    pings_ = 0;
    link_ = Ref<ProbeLink>::make(verdicts_);
    link_->received = [this](const cHearthixCommand& packet, Integer read) { receive(packet, read); };
    link_->open(host, connectionId);
    return waitUntil([this] { return link_->IsConnected() || link_->hasEnded(); }, kConnectMilliseconds) &&
           !link_->hasEnded();
}

void HostCheck::connectTo(const SocketAddress& host, const String& connectionId) {
    if (!connect(host, connectionId))
        throw Failure{concat("cannot connect to ", host.text(), ": ",
                             String(std::string_view(link_->lastError().message())),
                             "; start the host first, and name the address on which it listens")};
    session();
    link_->end();
    ConsoleApplication::DoEvents(kDrainMilliseconds);
    if (connect(host, connectionId))
        earlyCommand();
}

void HostCheck::play(DriverStarts& starts) {
    struct Act {
        const char* name;
        void (HostCheck::*perform)(); // null for a driver that ends before it connects
        bool losesLink;
        DriverEnd end;
    };
    static constexpr std::array<Act, 9> kActs{
        {{"lost its link", &HostCheck::session, true, DriverEnd::status0},
         {"received nothing from its gateway", &HostCheck::earlyCommand, false, DriverEnd::status0},
         {"ended with status 1", &HostCheck::becomeReady, false, DriverEnd::status1},
         {"was killed", &HostCheck::becomeReady, false, DriverEnd::killed},
         {"ended with status 0", &HostCheck::becomeReady, false, DriverEnd::status0},
         {"ended at once", nullptr, false, DriverEnd::status1},
         {"ended at once, twice", nullptr, false, DriverEnd::status1},
         {"ended at once, three times", nullptr, false, DriverEnd::status1},
         {"ended at once, four times", nullptr, false, DriverEnd::status1}}};
    const char* lastEnd = nullptr;
    Integer number = 0;
    for (const Act& act : kActs) {
        if (!awaitStart(starts, lastEnd))
            return;
        PrintError(concat("check-host: start ", Str(++number), " of ", Str(std::uint64_t{kActs.size() + 1})));
        if (act.perform != nullptr && connect(starts.host(), starts.connectionId())) {
            (this->*act.perform)();
            if (act.losesLink)
                link_->end();
            ConsoleApplication::DoEvents(kDrainMilliseconds);
        }
        starts.end(act.end);
        if (link_)
            link_->end();
        lastEnd = act.name;
    }
    if (awaitStart(starts, lastEnd)) {
        verdicts_.kept(Rule::restart);
        judgePauses();
        if (connect(starts.host(), starts.connectionId()))
            becomeReady();
    }
}

// Returns false if the host has not started a driver in time. That breaks a rule, unless the host had asked
// the driver to end.
bool HostCheck::awaitStart(DriverStarts& starts, const char* lastEnd) {
    const clocks::Nanoseconds endedAt = lastEnd != nullptr ? starts.endedAt() : 0;
    const Integer limit = lastEnd != nullptr ? kRestartMilliseconds : kFirstStartMilliseconds;
    if (!waitUntil([&starts] { return starts.takeNext(); }, limit)) {
        if (lastEnd == nullptr)
            throw Failure{"no host has started the program within ten minutes; configure it as the driver of "
                          "your host"};
        if (!askedToEnd_)
            verdicts_.broken(Rule::restart, {},
                             concat("no start within 70 seconds after a driver ", lastEnd));
        return false;
    }
    if (lastEnd != nullptr)
        pauses_.push_back(starts.startedAt() - endedAt);
    return true;
}

// The last four pauses follow drivers that ended at once. A host may have made its pauses longer before that.
void HostCheck::judgePauses() {
    const clocks::Nanoseconds first = pauses_.front(), early = pauses_[pauses_.size() - 3],
                              late = pauses_.back();
    const bool grows = late - early > kNotice && late * 2 >= early * 3;
    verdicts_.kept(Rule::restartPause);
    if (!grows && late - first < kMuch)
        verdicts_.broken(Rule::restartPause, {},
                         concat("drivers ended at once, and the host paused ",
                                Str(early / clocks::kMillisecond), " milliseconds after the second and ",
                                Str(late / clocks::kMillisecond), " after the fourth"));
}

void HostCheck::receive(const cHearthixCommand& packet, Integer read) {
    Event event{packet.Command, packet.RawCommonCommand, read};
    if (packet.isMultiPacket) {
        event.word = packet.GetMulti("mcmd");
        event.address = packet.GetMulti("addr");
        event.value = packet.GetMulti("Valu");
    }
    note(event);
    const bool reachesGateway = packet.isMultiPacket ? !isForDriver(event.word) : event.word == "X";
    if (reachesGateway && !ready_)
        verdicts_.broken(Rule::readyFirst, event.bytes,
                         concat("the command ", event.word, " came before the driver was ready"));
    if (event.word == "close" || (packet.fCCM && (event.word == "Q" || event.word == "P"))) {
        askedToEnd_ = true;
        link_->end();
    } else if (event.word == "setUnits") {
        receiveList(packet);
    } else if (packet.isMultiPacket) {
        receiveCommand(event);
    }
}

void HostCheck::receiveCommand(const Event& event) {
    if (event.word == "ping" && pings_++ == 0)
        answer_.setIn(kPingMilliseconds);
    if (event.word == "debug")
        link_->log(event.value == "true" ? "MySensors plugin debug mode is now on"
                                         : "MySensors plugin debug mode is now off'");
    if (isForUnit(event.word) && ready_)
        obey(event);
}

void HostCheck::note(const Event& event) {
    if (events_.size() < kMostEvents)
        events_.push_back(event);
}

const HostCheck::Event* HostCheck::find(const String& word, const String& address, std::size_t from) const {
    for (std::size_t i = from; i < events_.size(); ++i)
        if (events_[i].word == word && events_[i].address == address)
            return &events_[i];
    return nullptr;
}

} // namespace hearthix::sim
