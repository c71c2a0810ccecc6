// What ends the process with a stack dump, and what keeps it turning for ever: both are the rules of the
// link, and a host has to know them.
#include "tests/support/Conversation.hpp"

#include <gtest/gtest.h>

#include <thread>

namespace hearthix::test {

namespace {

void expectStackDump(DriverProcess& driver, const std::string& name) {
    const Ending ending = driver.end();
    EXPECT_GT(ending.status, 0) << name;
    EXPECT_TRUE(ending.output.starts_with("stack trace begin\n\n")) << name << ": " << ending.output;
    EXPECT_TRUE(ending.output.ends_with("\n\ndone logging the stack\n\n")) << name << ": " << ending.output;
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

TEST(StackDump, AnswersAGatewayThatRefusesOrHasNoAddress) {
    for (const std::string& address : {std::string("127.0.0.1"), std::string(70, 'x')}) {
        FakeHost host;
        std::vector<std::string> arguments = FakeGateway(Transport::tcp).arguments(host.port(), "id");
        arguments[4] = address; // nobody listens any more
        DriverProcess driver(arguments);
        EXPECT_EQ(host.accept(), "id");
        expectStackDump(driver, address);
        EXPECT_EQ(host.untilEnd(), Packets{});
    }
}

TEST(StackDump, AnswersAGatewayThatTalksOrLeavesAtOnce) {
    for (const std::string greeting : {"0;255;3;0;14;Gateway startup complete.\n", ""}) {
        FakeHost host;
        FakeGateway gateway(Transport::tcp);
        DriverProcess driver(gateway.arguments(host.port()));
        host.accept();
        gateway.accept();
        greeting.empty() ? gateway.close() : gateway.say(greeting);
        expectStackDump(driver, greeting);
        EXPECT_EQ(host.untilEnd(), Packets{});
    }
}

// The process takes its processor, which an idle one never does, and keeps its memory within bounds.
void expectEndlessTurns(const DriverProcess& driver, const std::string& name) {
    constexpr std::chrono::milliseconds kBusy{500};
    constexpr std::size_t kBound = 256u << 20;
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

} // namespace

} // namespace hearthix::test
