// Much at once, little at a time, and a peer that doesn't read.
#include "tests/support/Conversation.hpp"

#include <gtest/gtest.h>

namespace hearthix::test {

namespace {

constexpr int kMany = 100'000;

TEST(Load, AHostThatReadsLateMissesNothing) {
    Conversation talk(Transport::tcp, {}, 4096);
    talk.gatewaySays("10;3;1;0;0;first\n");
    std::string lines;
    for (int i = 0; i < kMany; ++i)
        lines += "10;3;1;0;0;" + std::to_string(i) + "\n";
    [[maybe_unused]] const std::size_t before = talk.driver.residentBytes();
    for (int turn = 0; turn < 2; ++turn) {
        talk.gateway.say(lines + "12;255;3;0;6;\n");
        EXPECT_EQ(talk.gateway.hearUntil("\n"), "12;255;3;0;6;I"); // the gateway is served all the while
        for (int i = 0; i < kMany; ++i)
            ASSERT_EQ(talk.host.next(), setValue("0A03.TEMP", std::to_string(i)));
        EXPECT_EQ(talk.host.next(), log("sending config to node: 12;255;3;0;6;I"));
    }
    EXPECT_EQ(talk.gatewaySays("").host, Packets{});
#ifndef __SANITIZE_ADDRESS__
    // What waited, some 7 MiB, is not kept.
    EXPECT_TRUE(isForeignDriver() || talk.driver.residentBytes() < before + (std::size_t{3} << 20));
#endif
}

// On the stack that a process gets by default. Never more is in flight than the sockets hold.
TEST(Load, AMillionCommandsOneWriteEach) {
#ifdef __SANITIZE_ADDRESS__
    constexpr int kCommands = 20'000;
#else
    const int kCommands = isForeignDriver() ? 20'000 : 1'000'000;
#endif
    constexpr int kInFlight = 2000;
    Conversation talk(Transport::tcp, {"prlimit", "--stack=8388608"});
    talk.hostSends(multipacket({{"mcmd", "OFF"}, {"addr", "0A03.TEMP"}}));
    for (int i = 0; i < kCommands + kInFlight; ++i) {
        if (i % 10'000 == 0)
            talk.gateway.say("5;255;3;0;4;\n"); // a sign of life
        if (i < kCommands)
            talk.host.say(
                multipacket({{"mcmd", "SetValue"}, {"addr", "0A03.TEMP"}, {"Valu", std::to_string(i)}}));
        if (i < kInFlight)
            continue;
        const std::string value = std::to_string(i - kInFlight);
        ASSERT_EQ(talk.host.next(), log("outgoing command (10;3;1;0;0;" + value + ")"));
    }
    // A command that comes while another one is being logged overtakes it on the way to the gateway.
    std::vector<bool> missing(static_cast<std::size_t>(kCommands), true);
    for (int i = 0; i < kCommands; ++i) {
        const auto number = static_cast<std::size_t>(std::stoi(talk.gateway.hearUntil("\n").substr(11)));
        ASSERT_TRUE(missing.at(number));
        missing[number] = false;
    }
    EXPECT_EQ(talk.hostSends(""), Effects{});
}

} // namespace

} // namespace hearthix::test
