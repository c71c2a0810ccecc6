// Much at once, little at a time, and a peer that doesn't read.
#include "tests/support/Conversation.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

namespace hearthix::test {

namespace {

constexpr int kMany = 100'000;

std::string manyLines() {
    std::string lines;
    for (int i = 0; i < kMany; ++i)
        lines += "10;3;1;0;0;" + std::to_string(i) + "\n";
    return lines;
}

void expectManyValues(FakeHost& host) {
    for (int i = 0; i < kMany; ++i)
        ASSERT_EQ(host.next(), setValue("0A03.TEMP", std::to_string(i)));
}

TEST(Load, AHundredThousandLinesInOneWriteArriveInOrder) {
    Conversation talk;
    talk.gatewaySays("10;3;1;0;0;first\n");
    talk.gateway.say(manyLines());
    expectManyValues(talk.host);
    EXPECT_EQ(talk.gatewaySays(""), Effects{});
}

TEST(Load, AHostThatReadsLateMissesNothing) {
    Conversation talk(Transport::tcp, Output::captured, "UTC0", 4096);
    talk.gatewaySays("10;3;1;0;0;first\n");
    talk.gateway.say(manyLines());
    std::this_thread::sleep_for(std::chrono::seconds(3));
    talk.gateway.say("12;255;3;0;6;\n"); // the gateway is served all the while
    EXPECT_EQ(talk.gateway.hearUntil("\n"), "12;255;3;0;6;I");
    expectManyValues(talk.host);
    EXPECT_EQ(talk.host.next(), log("sending config to node: 12;255;3;0;6;I"));
}

TEST(Load, ALineOfAMebibyteIsOneLine) {
    const std::string noise(1 << 20, 'x');
    Conversation talk;
    talk.gateway.say(noise);
    const auto cut = [](const std::string& text) { return text.substr(0, 249); };
    EXPECT_EQ(talk.gatewaySays("\n"), effects({log(cut("malformed mySensors packet: (" + noise)),
                                               log(cut("failed to parse Command: (" + noise), 4)}));
    EXPECT_EQ(talk.gatewaySays("0;255;3;0;9;" + noise + ";\n"),
              effects({log(cut("Gateway Message: " + noise))}));
}

TEST(Load, TenThousandCommandsOneWriteEach) {
    constexpr int kCommands = 10'000;
    Conversation talk;
    talk.hostSends(multipacket({{"mcmd", "OFF"}, {"addr", "0A03.TEMP"}}));
    std::vector<std::string> expected;
    for (int i = 0; i < kCommands; ++i) {
        const std::string value = std::to_string(i);
        talk.host.send(multipacket({{"mcmd", "SetValue"}, {"addr", "0A03.TEMP"}, {"Valu", value}}));
        expected.push_back("10;3;1;0;0;" + value);
    }
    for (const std::string& line : expected)
        ASSERT_EQ(talk.host.next(), log("outgoing command (" + line + ")"));
    // A command that comes while another one is being logged overtakes it on the way to the gateway.
    std::vector<std::string> lines;
    while (lines.size() < expected.size())
        lines.push_back(talk.gateway.hearUntil("\n"));
    std::sort(lines.begin(), lines.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(lines, expected);
    EXPECT_EQ(talk.hostSends(""), Effects{});
}

TEST(Load, AByteAtATime) {
    for (const Transport transport : {Transport::tcp, Transport::serial}) {
        Conversation talk(transport);
        const std::string lines = "10;3;1;0;0;abc\r\n10;3;1;0;0;12\n\n";
        for (const char byte : lines)
            talk.gateway.say(std::string(1, byte));
        EXPECT_EQ(talk.gatewaySays("10;3;1;0;0;3\n"),
                  effects({log("creating unit at node level for node: 0A"),
                           log("creating child object at Address: 0A03"),
                           log("creating Hearthix Unit for 0A03.TEMP"), newUnit("0A03", "TEMP", true, true),
                           describe("0A03.TEMP", "abc"), setValue("0A03.TEMP", "12"),
                           log("failed to parse Command: ()", 4), setValue("0A03.TEMP", "3")}));
    }
}

} // namespace

} // namespace hearthix::test
