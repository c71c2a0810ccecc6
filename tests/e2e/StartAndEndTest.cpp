// The driver's start, what it waits for, and the ways in which it ends: in good order, with a stack dump, or
// not at all. Only lower limits of time are tested, because the machine may be busy; each begins before its
// cause.
#include "tests/support/Conversation.hpp"

#include <gtest/gtest.h>

#include <csignal>
#include <thread>
#include <tuple>

#include <sys/socket.h>

namespace hearthix::test {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using Clock = std::chrono::steady_clock;

// Too long for a name, so that no server is asked.
const std::string kNoSuchName(70, 'x');
const std::string kPing = multipacket({{"mcmd", "ping"}});

void expectStackDump(DriverProcess& driver, const std::string& name, const std::string& remedy = "") {
    const Ending ending = driver.end();
    EXPECT_GT(ending.status, 0) << name;
    EXPECT_TRUE(ending.output.starts_with("stack trace begin\n\n")) << name << ": " << ending.output;
    EXPECT_TRUE(ending.output.ends_with("\n\ndone logging the stack\n\n")) << name << ": " << ending.output;
    EXPECT_NE(ending.errors.find(remedy), std::string::npos) << name << ": " << ending.errors;
}

TEST(Start, OneArgumentPrintsTheBannerOnly) {
    const Ending ending = DriverProcess({"IP"}).end();
    EXPECT_EQ(ending.status, 0);
    EXPECT_EQ(ending.output, "Hearthix mySensors Driver\r\nwritten by the Hearthix mySensors maintainers\r\n"
                             "version 1.1 (build 004)\r\n");
}

TEST(Start, MissingArgumentsEndInTheStackDump) {
    FakeHost host;
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{}, {"IP", "127.0.0.1"}, {"IP", "127.0.0.1", host.port()}}) {
        DriverProcess driver(arguments);
        expectStackDump(driver, std::to_string(arguments.size()));
    }
}

TEST(Start, ArgumentsAreReadLeniently) {
    using Case = std::tuple<std::string, std::string, std::string, std::string, std::vector<std::string>>;
    for (const auto& [transport, address, portSuffix, id, extra] :
         {Case{"IP", "127.0.0.1", "", "42", {}}, Case{"ip", "", ".9", "", {}},
          Case{"Ip", "localhost", "junk", "a b:c", {"x", "", "1.2.3.4"}}}) {
        FakeHost host;
        FakeGateway gateway(Transport::tcp);
        std::vector<std::string> arguments{transport, address, host.port() + portSuffix, id};
        arguments.insert(arguments.end(), extra.begin(), extra.end());
        arguments.insert(arguments.end(), {"127.0.0.1", " " + gateway.port() + portSuffix});
        const auto start = Clock::now();
        const DriverProcess driver(arguments);
        EXPECT_EQ(host.accept(), id);
        EXPECT_GE(Clock::now() - start, milliseconds(100));
        gateway.accept();
        EXPECT_EQ(host.next(), readyText());
    }
}

TEST(Start, GivesUpOnAHostThatCannotBeReachedAfterFifteenSeconds) {
    FakeHost host;
    const std::string port = host.port();
    host.stopListening();
    const auto start = Clock::now();
    DriverProcess refused({"IP", "127.0.0.1", port, "7", "127.0.0.1", "1"});
    DriverProcess unknown({"IP", kNoSuchName, port, "7", "127.0.0.1", "1"});
    DriverProcess unanswered({"IP", "host.test", port, "7", "127.0.0.1", "1"},
                             withFaults({"SILENT_RESOLVER=host.test"}));
    for (DriverProcess* driver : {&refused, &unknown, &unanswered}) {
        const Ending ending = driver->end();
        EXPECT_GE(Clock::now() - start, seconds(15));
        EXPECT_EQ(ending.status, 0);
        EXPECT_EQ(ending.output, std::string(driver == &unanswered ? "" : "Hearthix Pipe Error\n\n") +
                                     "mySensors: Timeout waiting for answer from Hearthix\r\n");
    }
}

TEST(End, FollowsTheHostsCommand) {
    const Packet quit = log("The drugre has been asked to quit. (2)");
    // Q and q are the low-battery form of P, and are read as P.
    for (const auto& [packet, logged] :
         {std::pair(commonMessage('q'), quit),
          {commonMessage('Q'), quit},
          {commonMessage('p', 255, 'Y'), quit},
          {multipacket({{"mcmd", "CLOSE"}}), log("MySensors Plugin shutting down...")}}) {
        Conversation talk;
        const auto start = Clock::now();
        talk.host.say(packet);
        EXPECT_EQ(talk.host.next(), logged);
        EXPECT_EQ(talk.gateway.hearToEnd(), "");
        EXPECT_EQ(talk.host.untilEnd(), Packets{});
        EXPECT_GE(Clock::now() - start, seconds(1));
        const Ending ending = talk.driver.end();
        EXPECT_EQ(std::tie(ending.status, ending.output, ending.errors), std::tuple(0, "", ""));
    }
}

// A test that is late on a busy machine finds the driver gone and tries again.
TEST(End, EventsStillRunForASecond) {
    Packets last;
    for (int tries = 0; tries < 30 && last.empty(); ++tries) {
        Conversation talk;
        talk.host.say(multipacket({{"mcmd", "close"}}));
        talk.gateway.hearToEnd();
        talk.host.next();
        send(talk.host.descriptor(), kPing.data(), kPing.size(), MSG_NOSIGNAL);
        last = talk.host.untilEnd();
    }
    EXPECT_EQ(last, Packets{multi({{"mcmd", "PSrp"}})});
}

TEST(End, SignalsKeepTheirDefaultAction) {
    for (const int number : {SIGTERM, SIGINT}) {
        Conversation talk;
        talk.driver.signal(number);
        EXPECT_EQ(talk.driver.end().status, -number);
    }
}

TEST(End, ALostStandardOutputHarmsNothing) {
    for (const std::string redirection : {"<&- >&-", ">/dev/full", "> >(exec true)"}) {
        Conversation talk(Transport::tcp, {"bash", "-c", "exec \"$@\" " + redirection, "bash"});
        talk.host.say("L\x06\x02hey");
        EXPECT_EQ(talk.gateway.hearToEnd(), ""); // the stack dump went nowhere else
        EXPECT_EQ(talk.host.untilEnd(), Packets{});
        EXPECT_GT(talk.driver.end().status, 0);
    }
}

constexpr seconds kSilence{10};
const std::string kVersionRequest = "0;0;3;0;2;\n";

TEST(Watchdog, AsksAfterTenSecondsAndEndsAfterTwenty) {
    Conversation talk;
    talk.hostSends(commonMessage('D'));
    const auto start = Clock::now(); // before the last byte that the driver gets
    talk.gateway.say("0;0;");        // a part of a line is a sign of life
    talk.host.until(log("requesting version as ping"));
    EXPECT_EQ(talk.gateway.hearUntil(kVersionRequest), "");
    EXPECT_GE(Clock::now() - start, kSilence);
    EXPECT_EQ(talk.gateway.hearToEnd(), "");
    EXPECT_GE(Clock::now() - start, 2 * kSilence);
    EXPECT_EQ(talk.host.untilEnd(),
              Packets{log("timeout waiting for ping from mySensors gateway. Restarting connection...")});
    EXPECT_EQ(talk.driver.end().status, 0);
}

TEST(Watchdog, OnASerialLineStartsWithTheFirstByte) {
    Conversation talk(Transport::serial);
    EXPECT_FALSE(talk.gateway.hasNews(seconds(11)));
    const auto start = Clock::now();
    talk.gatewaySays("");
    EXPECT_EQ(talk.gateway.hearUntil(kVersionRequest), "");
    EXPECT_GE(Clock::now() - start, kSilence);
}

// The queue of connections of this gateway is full, so the driver waits.
struct SilentGateway : testing::Test {
    void SetUp() override {
        host.accept();
        host.say(commonMessage('D') + multipacket({{"mcmd", "ping"}}));
        EXPECT_EQ(host.until(multi({{"mcmd", "PSrp"}})), Packets{log("mySensors debug mode is now: ON")});
    }
    FakeHost host;
    Listener gateway{0, 0};
    Descriptor queued = gateway.connect();
    DriverProcess driver{{"IP", "127.0.0.1", host.port(), "7", "127.0.0.1", gateway.port()}};
};

TEST_F(SilentGateway, IsGivenUpAfterTenSeconds) {
    const Packets all = host.untilEnd();
    ASSERT_GE(all.size(), 2u);
    const std::string failed = readable(all[all.size() - 2]);
    EXPECT_GE(std::stoi(between(failed, "log 4: mySensors Connection failed to open after ", " ticks.")),
              600);
    EXPECT_EQ(all.back(), log("IP Open  to 127.0.0.1:" + gateway.port() + " failed.")); // and no ready text
    EXPECT_EQ(driver.end().status, 0);
}

TEST_F(SilentGateway, MayAnswerLate) {
    gateway.accept();
    host.until(log("mySensors Device connection event. ", 4));
    const std::string open = readable(host.next());
    EXPECT_NE(between(open, "log 4: mySensors Connection is open after ", " ticks."), "") << open;
    EXPECT_EQ(host.next(), readyText());
}

TEST_F(SilentGateway, EndsTheDriverWhenACommandArrives) {
    host.say(rawData("x"));
    expectStackDump(driver, "raw data");
}

TEST(SilentNameServer, BlocksNeitherTheHostNorTheEnd) {
    FakeHost host;
    DriverProcess driver({"IP", "127.0.0.1", host.port(), "7", "gateway.test", "5003"},
                         withFaults({"SILENT_RESOLVER=gateway.test"}));
    host.accept();
    host.say(multipacket({{"mcmd", "ping"}}));
    EXPECT_EQ(host.next(), multi({{"mcmd", "PSrp"}}));
    EXPECT_EQ(host.untilEnd(), Packets{log("IP Open  to gateway.test:5003 failed.")});
    EXPECT_EQ(driver.end().status, 0);
}

TEST(StackDump, AnswersWhatTheHostMustNotSend) {
    const std::string onWithoutUnit = commonMessage('2', 0);
    for (const std::string& packet :
         {onWithoutUnit, commonMessage('Q', 191), std::string("L\x06\x02hey"), std::string("L\x02")}) {
        Conversation talk;
        talk.host.say(multipacket({{"mcmd", "ping"}}) + packet + commonMessage('D'));
        expectStackDump(talk.driver, readable(packet));
        EXPECT_EQ(talk.host.untilEnd(), Packets{multi({{"mcmd", "PSrp"}})}); // earlier packets still arrive
        EXPECT_EQ(talk.gateway.hearToEnd(), "");
    }
}

TEST(StackDump, AnswersTheBatteryOfAnUnknownNodesChild) {
    Conversation talk;
    talk.gateway.say("7;3;3;0;0;50\n0;255;3;0;9;never read\n");
    expectStackDump(talk.driver, "battery", "the gateway line \"7;3;3;0;0;50\" reports");
    EXPECT_EQ(talk.host.untilEnd(), Packets{log("creating child object at Address: 0703")});
}

TEST(StackDump, AnswersAGatewayThatCannotBeUsed) {
    for (const std::string how : {"refuses", "has no address", "talks", "leaves"}) {
        FakeHost host;
        FakeGateway gateway(Transport::tcp);
        std::vector<std::string> arguments = gateway.arguments(host.port(), "id");
        if (how == "refuses")
            gateway.stopListening();
        if (how == "has no address")
            arguments[4] = std::string(70, 'x');
        DriverProcess driver(arguments);
        EXPECT_EQ(host.accept(), "id");
        if (how == "talks" || how == "leaves")
            gateway.accept();
        how == "talks" ? gateway.say("0;255;3;0;14;Gateway startup complete.\n") : gateway.close();
        expectStackDump(driver, how,
                        how == "talks" ? "use socket://127.0.0.1:" : "check its address and port");
        EXPECT_EQ(host.untilEnd(), Packets{});
    }
}

class Exhausted : public testing::Test {
    void SetUp() override {
#if defined(HEARTHIX_SANITIZED) || defined(HEARTHIX_COVERAGE)
        GTEST_SKIP() << "an instrumented program uses another allocator and opens files of its own";
#endif
        if (isForeignDriver())
            GTEST_SKIP() << "the limit would apply to the emulator, too";
    }
};

TEST_F(Exhausted, FilesAreAFailureToConnect) {
    // Closes the descriptors that this test inherited and leaves one, for the host's link.
    const std::vector<std::string> fourFiles{
        "sh", "-c", R"(exec 3>&- 4>&- 5>&- 6>&- 7>&- 8>&- 9>&-; ulimit -n 4; exec "$0" "$@")"};
    FakeHost host, other;
    const FakeGateway network(Transport::tcp), serial(Transport::serial);
    DriverProcess refused(network.arguments(host.port()), fourFiles);
    host.accept();
    expectStackDump(refused, "network", "NilObjectException");
    DriverProcess unopened(serial.arguments(other.port()), fourFiles);
    other.accept();
    EXPECT_EQ(other.untilEnd(),
              Packets{log("mySensors: unable to open the port named: " + serial.device(), 4)});
    const Ending ending = unopened.end();
    EXPECT_EQ(ending.status, 0);
    EXPECT_NE(ending.errors.find("Too many open files"), std::string::npos) << ending.errors;
}

TEST_F(Exhausted, MemoryAtTheStartEndsLikeAnyFailure) {
    const FakeHost host;
    const FakeGateway network(Transport::tcp), serial(Transport::serial);
    for (const int count : {0, 10, 20, 30, 50, 100})
        for (const FakeGateway* gateway : {&network, &serial}) {
            DriverProcess driver(gateway->arguments(host.port()),
                                 withFaults({"ALLOCATIONS=" + std::to_string(count)}));
            EXPECT_EQ(driver.end().status, 1) << count;
        }
}

TEST_F(Exhausted, MemoryAtWorkEndsWithAMessageAndWholePackets) {
    for (const Transport transport : {Transport::tcp, Transport::serial})
        for (const int count : {0, 1, 3, 8, 21, 55, 144}) {
            Conversation talk(transport,
                              withFaults({"FROM_SIGNAL=1", "ALLOCATIONS=" + std::to_string(count)}));
            std::string lines;
            for (int node = 16; node < 100; ++node)
                lines += std::to_string(node) + ";3;1;0;0;21.5\n";
            talk.driver.signal(SIGSTOP);
            talk.gateway.say(lines);
            talk.host.say(multipacket({{"mcmd", "ON"}, {"addr", "0A03.STATUS"}}) + unitsPacket("KbdbAL  "));
            talk.driver.signal(SIGUSR1);
            talk.driver.signal(SIGCONT);
            for (const Packet& packet : talk.host.untilEnd())
                EXPECT_EQ(packet.bytes.size(), packetLength(packet.bytes)) << count;
            const Ending ending = talk.driver.end();
            EXPECT_EQ(ending.status, 1) << count;
            EXPECT_NE(ending.errors.find("there is no memory left"), std::string::npos) << ending.errors;
        }
}

// The process uses the processor, which an idle one never does, and its memory stays within bounds.
void expectEndlessTurns(const DriverProcess& driver, const std::string& name) {
    constexpr milliseconds kBusy{500};
    constexpr std::size_t kBound = 256u << 20; // includes freed memory that the address sanitizer keeps
    const auto start = driver.processorTime();
    const auto limit = Clock::now() + kPatience;
    while (driver.processorTime() - start < kBusy && Clock::now() < limit)
        std::this_thread::sleep_for(milliseconds(20));
    EXPECT_GE(driver.processorTime() - start, kBusy) << name;
    EXPECT_LT(driver.residentBytes(), kBound) << name;
}

TEST(EndlessTurns, FollowPacketsThatConsumeNothing) {
    // A name, bytes, and the packet that the host gets over and over.
    using Case = std::tuple<std::string, std::string, std::string>;
    const char* malformed = "log 4: mySensors: Received malformed packet from host";
    const Case cases[] = {
        {"common message in part", commonMessage('D').substr(0, 9), ""},
        {"header of a multipacket in part", multipacket({{"mcmd", "ping"}}).substr(0, 4), ""},
        {"length 0", std::string("X\0", 2), malformed},
        {"lone byte", "J", malformed},
        {"multipacket of length 0", std::string("J\0\0\x80xyz", 7), "log 2: invalid address format. "},
    };
    for (const auto& [name, bytes, flood] : cases) {
        Conversation talk;
        talk.host.say(bytes);
        expectEndlessTurns(talk.driver, name);
        talk.gateway.say("0;255;3;0;9;unheard\n");
        if (flood.empty())
            EXPECT_FALSE(talk.host.hasNews(milliseconds(100))) << name;
        else
            EXPECT_TRUE(readable(talk.host.next()).starts_with(flood)) << name;
    }
}

} // namespace

} // namespace hearthix::test
