// Lines that make no unit, odd ones above all; docs/mesh.md has the usual ones, and a test of its own.
#include "tests/support/Conversation.hpp"

#include <gtest/gtest.h>

#include <ctime>

namespace hearthix::test {

namespace {

TEST(GatewayLines, AreToldToTheHost) {
    struct Case {
        const char* line;
        Packets host;
        const char* reply = "";
    };
    const Case cases[] = {
        {"-1;300;0;x;99;", {log("presentation packet from node: FF2C ()")}},
        {"12;3;3;0;6;0", {log("sending config to node: 12;3;3;0;6;I")}, "12;3;3;0;6;I\n"},
        {"300;255;3;0;12;1.0", {log("node (2C) sketch version: 1.0")}},
        {"5;255;3;0;14;x", {log("Node: (05) x")}},
        {"12;0;9;0;2;1", {}},
        {"5;255;3;0;-1;1", {}},
        {"5;255;3;0;1000;1", {}},
        {"", {log("failed to parse Command: ()", 4)}},
        {"1;2;3;4;5",
         {log("malformed mySensors packet: (1;2;3;4;5)"), log("failed to parse Command: (1;2;3;4;5)", 4)}},
    };
    Conversation talk;
    std::string all;
    Effects together;
    for (const Case& c : cases) {
        EXPECT_EQ(talk.gatewaySays(std::string(c.line) + "\n"), effects(c.host, c.reply)) << c.line;
        all += std::string(c.line) + "\n";
        together.host.insert(together.host.end(), c.host.begin(), c.host.end());
        together.gateway += c.reply;
    }
    EXPECT_EQ(talk.gatewaySays(all), together) << "all at once";
}

TEST(GatewayLines, AreTakenApartInDebugMode) {
    Conversation talk;
    talk.debug = true;
    EXPECT_EQ(talk.hostSends(commonMessage('D')), effects({log("mySensors debug mode is now: ON")}));
    const std::string marker = Conversation::markerLine();
    const std::string node = "nodeID=5(05) childID=", whole = "255(FF) messageType=";
    const Packet created = log("creating unit at node level for node: 05");
    using Case = std::pair<std::string, Packets>;
    for (const auto& [line, further] :
         {Case("5;255;1;2;21;",
               {log(node + whole +
                    "1(SET value) ack=2(unknown) SubType=21(setting variable type: FAN) PayLoad= ()"),
                created, created,
                log("node 05 received a node level message that wasn't an internal command: ")}),
          Case("5;3;2;0;46;", {log(node + "3(03) messageType=2(REQuest value) ack=0(normal message) "
                                          "SubType=46(getting variable type: UNKN046) PayLoad= ()"),
                               log("unhandled command (5;3;2;0;46;)")}),
          Case("5;255;3;0;7;0", {log(node + whole +
                                     "3(internal) ack=0(normal message) SubType=7(find parent) "
                                     "PayLoad=0 ( 30)"),
                                 log("unhandled command: 5;255;3;0;7;0")}),
          Case("1;2",
               {log("malformed mySensors packet: (1;2)"), log("failed to parse Command: (1;2)", 4)})}) {
        Packets all{log("read from port: (" + line + "\r\n" + marker.substr(0, marker.size() - 1) + ")"),
                    log("mySensors packet received (" + line + ")")};
        all.insert(all.end(), further.begin(), further.end());
        EXPECT_EQ(talk.gatewaySays(line + "\r\n"), effects(all)) << line;
    }
    talk.debug = false;
    EXPECT_EQ(talk.hostSends(commonMessage('d')), effects({log("mySensors debug mode is now: OFF")}));
}

TEST(GatewayLines, ATimeRequestIsAnsweredWithTheLocalClock) {
    Conversation talk(Transport::tcp, {"env", "TZ=XYZ-5:30"});
    const auto now = [] { return std::time(nullptr) + 19800; };
    const std::time_t before = now();
    const std::string reply = talk.gatewaySays("12;3;3;0;1;\n").gateway;
    ASSERT_TRUE(reply.starts_with("12;255;3;0;1;")) << reply;
    const std::time_t seconds = std::stoll(reply.substr(13));
    EXPECT_TRUE(before <= seconds && seconds <= now()) << reply;
    EXPECT_EQ(reply, "12;255;3;0;1;" + std::to_string(seconds) + "\n");
}

} // namespace

} // namespace hearthix::test
