// What ends the process with a stack dump, and what keeps it turning for ever: both are the rules of the
// link, and a host has to know them. And the way of a gateway that greets at once.
#include "tests/support/Conversation.hpp"

#include <gtest/gtest.h>

#include <csignal>
#include <thread>

namespace hearthix::test {

namespace {

void expectStackDump(DriverProcess& driver, const std::string& name, const std::string& remedy = "") {
    const Ending ending = driver.end();
    EXPECT_GT(ending.status, 0) << name;
    EXPECT_TRUE(ending.output.starts_with("stack trace begin\n\n")) << name << ": " << ending.output;
    EXPECT_TRUE(ending.output.ends_with("\n\ndone logging the stack\n\n")) << name << ": " << ending.output;
    EXPECT_NE(ending.errors.find(remedy), std::string::npos) << name << ": " << ending.errors;
}

TEST(StackDump, AnswersWhatTheHostMustNotSend) {
    const std::string onWithoutUnit = commonMessage('2', 0);
    for (const std::string& packet :
         {onWithoutUnit, commonMessage('Q', 191), std::string("L\x06\x02hey"), std::string("L\x02")}) {
        Conversation talk;
        talk.host.say(multipacket({{"mcmd", "ping"}}) + packet + commonMessage('D'));
        expectStackDump(talk.driver, readable(packet));
        EXPECT_EQ(talk.host.untilEnd(), Packets{multi({{"mcmd", "PSrp"}})}); // what was written still leaves
        EXPECT_EQ(talk.gateway.hearToEnd(), "");
    }
}

TEST(StackDump, AnswersTheBatteryOfAnUnknownNodesChild) {
    Conversation talk;
    talk.gateway.say("7;3;3;0;0;50\n0;255;3;0;9;never read\n");
    expectStackDump(talk.driver, "battery");
    EXPECT_EQ(talk.host.untilEnd(), Packets{log("creating child object at Address: 0703")});
}

TEST(StackDump, AnswersAGatewayThatRefusesHasNoAddressTalksOrLeavesAtOnce) {
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
                        how == "talks" ? "name it socket://127.0.0.1:" : "check its address and port");
        EXPECT_EQ(host.untilEnd(), Packets{});
    }
}

class NoMemory : public testing::Test {
    void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) || defined(HEARTHIX_COVERAGE)
        GTEST_SKIP() << "an instrumented program has an allocator of its own";
#endif
        if (isForeignDriver())
            GTEST_SKIP() << "the emulator has no memory either";
    }
};

TEST_F(NoMemory, AtTheStartEndsLikeAnyFailure) {
    const FakeHost host;
    const FakeGateway network(Transport::tcp), serial(Transport::serial);
    for (const int count : {0, 10, 20, 30, 50, 100})
        for (const FakeGateway* gateway : {&network, &serial}) {
            DriverProcess driver(gateway->arguments(host.port()),
                                 withFaults({"ALLOCATIONS=" + std::to_string(count)}));
            EXPECT_EQ(driver.end().status, 1) << count;
        }
}

TEST_F(NoMemory, AtWorkEndsWithTheStackAndWholePackets) {
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
            expectStackDump(talk.driver, std::to_string(count), "there is no memory left");
        }
}

// The process takes its processor, which an idle one never does, and keeps its memory within bounds.
void expectEndlessTurns(const DriverProcess& driver, const std::string& name) {
    constexpr std::chrono::milliseconds kBusy{500};
    constexpr std::size_t kBound = 256u << 20; // freed memory that the address sanitizer keeps counts, too
    const auto start = driver.processorTime();
    const auto limit = std::chrono::steady_clock::now() + kPatience;
    while (driver.processorTime() - start < kBusy && std::chrono::steady_clock::now() < limit)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_GE(driver.processorTime() - start, kBusy) << name;
    EXPECT_LT(driver.residentBytes(), kBound) << name;
}

TEST(EndlessTurns, FollowPacketsThatConsumeNothing) {
    struct Case {
        const char* name;
        std::string bytes;
        const char* flood; // what the host is told over and over
    };
    const char* malformed = "log 4: mySensors: Received malformed packet from host";
    const Case cases[] = {
        {"common message in part", commonMessage('D').substr(0, 9), nullptr},
        {"header of a multipacket in part", multipacket({{"mcmd", "ping"}}).substr(0, 4), nullptr},
        {"length 0", std::string("X\0", 2), malformed},
        {"lone byte", "J", malformed},
        {"multipacket of length 0", std::string("J\0\0\x80xyz", 7), "log 2: invalid address format. "},
    };
    for (const Case& c : cases) {
        Conversation talk;
        talk.host.say(c.bytes);
        expectEndlessTurns(talk.driver, c.name);
        talk.gateway.say("0;255;3;0;9;unheard\n");
        if (c.flood == nullptr)
            EXPECT_FALSE(talk.host.hasNews(std::chrono::milliseconds(100))) << c.name;
        else
            EXPECT_TRUE(readable(talk.host.next()).starts_with(c.flood)) << c.name;
    }
}

// With the same arguments otherwise; it greets ahead of the driver's own greeting of the host, and obeys.
TEST(GreetingGateway, WorksAsASerialLineOnTheNetwork) {
    FakeHost host;
    FakeGateway gateway(Transport::tcp);
    const DriverProcess driver({"socket://127.0.0.1:" + gateway.port(), "127.0.0.1", host.port(), "7"});
    host.accept();
    gateway.accept();
    gateway.say("0;255;3;0;14;Gateway startup complete.\n");
    EXPECT_EQ(host.next(), readyText());
    EXPECT_EQ(host.next(), log("Gateway Ready: Gateway startup complete."));
    host.say(multipacket({{"mcmd", "ON"}, {"addr", "0A03.STATUS"}}));
    EXPECT_EQ(gateway.hearUntil("\n"), "10;3;1;0;2;1");
}

} // namespace

} // namespace hearthix::test
