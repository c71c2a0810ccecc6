// The mesh as the host sees it: what a gateway and its nodes tell and ask, the units that grow from values,
// commands, and the IDs of new nodes. What docs/mesh.md has in its tables is held by MeshPageTest.cpp.
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
          Case("5;3;0;1;6;x", {log(node + "3(03) messageType=0(presentation) ack=1(ack response) "
                                          "SubType=6(presenting: Temperature) PayLoad=x ( 78)"),
                               log("presentation packet from node: 0503 (x)")}),
          Case("5;3;4;0;2;", {log(node + "3(03) messageType=4(stream) ack=0(normal message) "
                                         "SubType=2(stream packet) PayLoad= ()"),
                              log("unhandled command (5;3;4;0;2;)")}),
          Case("5;3;9;0;2;", {log(node + "3(03) messageType=9(unknown) ack=0(normal message) "
                                         "SubType=2(unknown) PayLoad= ()"),
                              log("unhandled command (5;3;9;0;2;)")}),
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
    const std::string before = std::to_string(std::time(nullptr) + 19800);
    const std::string told = between(talk.gatewaySays("12;3;3;0;1;\n").gateway, "12;255;3;0;1;", "\n");
    EXPECT_GE(told, before);
    EXPECT_LE(told, std::to_string(std::time(nullptr) + 19800));
}

Packet node(const std::string& digits) {
    return log("creating unit at node level for node: " + digits);
}

Packet child(const std::string& root) {
    return log("creating child object at Address: " + root);
}

Packet unit(const std::string& address) {
    return log("creating Hearthix Unit for " + address);
}

TEST(Units, GrowFromValues) {
    struct Step {
        const char* name;
        const char* lines;
        Packets host;
    };
    const auto unknown = [](const std::string& type, const std::string& suffix, const std::string& value) {
        const Packet warning = log("unknown variable type: " + type);
        const std::string address = "0A03." + suffix;
        return Packets{unit(address), warning,
                       warning,       newUnit("0A03", suffix, true, true),
                       warning,       setValue(address, value, "0")};
    };
    const Step steps[] = {
        {"first value of a new sensor",
         "10;3;1;0;0;21.5\n",
         {node("0A"), child("0A03"), unit("0A03.TEMP"), newUnit("0A03", "TEMP", true, true),
          setValue("0A03.TEMP", "21.5")}},
        {"further values, whatever the ack field and the line end",
         "10;3;1;1;0;-3\r\n 10;3;1;0;0;4;5 \n",
         {setValue("0A03.TEMP", "-3"), setValue("0A03.TEMP", "4")}},
        {"further type",
         "10;3;1;0;3;40\n10;3;1;0;3;41\n",
         {unit("0A03.PERCENT"), newUnit("0A03", "PERCENT", true, false), setValue("0A03.PERCENT", "40"),
          setValue("0A03.PERCENT", "41")}},
        {"a switch is ON at 0",
         "10;4;1;0;2;0\n10;4;1;0;2;1\n10;4;1;0;2;0.5\n10;4;1;0;2;0.0\n10;4;1;0;2;-1\n",
         {child("0A04"), unit("0A04.STATUS"), newUnit("0A04", "STATUS", false, false),
          onOff("ON", "0A04.STATUS"), onOff("OFF", "0A04.STATUS"), onOff("OFF", "0A04.STATUS"),
          onOff("ON", "0A04.STATUS"), onOff("OFF", "0A04.STATUS")}},
        {"no number describes",
         "10;3;1;0;0;abc\n10;4;1;0;2;\n",
         {describe("0A03.TEMP", "abc"), describe("0A04.STATUS", "")}},
        {"a battery level spreads to all units",
         "10;255;3;0;0;80\n",
         {batteryOnly("0A03.TEMP", "80"), batteryOnly("0A03.PERCENT", "80"),
          batteryOnly("0A04.STATUS", "80")}},
        {"the same level, or a child's, is no news",
         "10;255;3;0;0;80\n10;255;3;0;0;80.9\n10;3;3;0;0;50\n",
         {}},
        {"values carry the level",
         "10;4;1;0;2;1\n10;3;1;0;0;x\n",
         {onOff("OFF", "0A04.STATUS", "80"), describe("0A03.TEMP", "x", "80")}},
        {"a level that is no number is 0",
         "10;255;3;0;0;empty\n",
         {batteryOnly("0A03.TEMP", "0"), batteryOnly("0A03.PERCENT", "0"), batteryOnly("0A04.STATUS", "0")}},
        {"a sensor after its node's level",
         "11;255;3;0;0;0\n11;255;3;0;0;-5\n11;0;1;0;16;1\n",
         {node("0B"), child("0B00"), unit("0B00.TRIP"), newUnit("0B00", "TRIP", false, true),
          onOff("OFF", "0B00.TRIP", "-5")}},
        {"junk counts as 0",
         "x;1.9;1;;y;3\n",
         {node("00"), child("0001"), unit("0001.TEMP"), newUnit("0001", "TEMP", true, true),
          setValue("0001.TEMP", "3")}},
        {"a type beyond those that the protocol has", "10;3;1;0;64;5\n", unknown("64", "UNKN064", "5")},
        {"another", "10;3;1;0;63;6\n", unknown("63", "UNKN063", "6")},
        {"the same once more",
         "10;3;1;0;63;7\n",
         {log("unknown variable type: 63"), setValue("0A03.UNKN063", "7")}},
        {"one below all", "10;3;1;0;-1;8\n", unknown("-1", "UNKN-001", "8")},
    };
    for (const Transport transport : kTransports) {
        Conversation talk(transport);
        for (const Step& step : steps) {
            std::string_view rest = step.lines;
            for (; transport == Transport::serial && !rest.empty(); rest.remove_prefix(1))
                talk.gateway.say(rest.substr(0, 1)); // a byte at a time
            EXPECT_EQ(talk.gatewaySays(rest), effects(step.host)) << step.name;
        }
    }
}

TEST(Commands, BecomeLines) {
    const Packet badAddress = log("invalid address format. mySensors addresses must be 4 bytes of NodeID "
                                  "ChildID in hex followed by a period "
                                  "and the name of the variable type. Command not sent.");
    const Packet unsupported = log("unsupported command from Hearthix");
    struct Step {
        Entries entries;
        Packets before; // ahead of the line, or alone
        const char* line;
    };
    const Step steps[] = {
        {{{"mcmd", "ON"}, {"addr", "0A03.STATUS"}}, {node("0A"), child("0A03")}, "10;3;1;0;2;1"},
        {{{"addr", "0A03.STATUS"}, {"mcmd", "OFF"}}, {}, "10;3;1;0;2;0"},
        {{{"mcmd", "SetValue"}, {"addr", "0A03.RGB"}, {"Valu", " a;b\xFF"}}, {}, "10;3;1;0;40; a;b\xFF"},
        {{{"mcmd", "SetValue"}, {"addr", "0A03.TEMP"}}, {}, "10;3;1;0;0;"},
        {{{"mcmd", "Qery"}, {"addr", "0A03.PERCENT"}, {"Valu", "9"}}, {}, "10;3;2;0;3;"},
        {{{"MCMD", "on"}, {"Addr", "0a03.sTATUS"}}, {}, "10;3;1;0;2;1"},
        {{{"mcmd", "ON"}, {"addr", "0A03.HVACMODE"}}, {}, "10;3;1;0;-1;1"},
        {{{"mcmd", "ON"}, {"addr", "0AFF.WINDOW"}}, {}, "10;255;1;0;29;1"},
        {{{"mcmd", "ON"}, {"addr", "0DFF.FAN"}}, {node("0D"), node("0D")}, "13;255;1;0;21;1"},
        {{{"mcmd", "ON"}, {"addr", "123.TEMP"}}, {node("12"), child("1223")}, "18;35;1;0;0;1"},
        {{{"mcmd", "ON"}, {"addr", "123.TEMP"}}, {child("1223")}, "18;35;1;0;0;1"},
        {{{"mcmd", "ON"}, {"addr", "ZZyx.TEMP"}}, {node("00"), child("0000")}, "0;0;1;0;0;1"},
        {{{"mcmd", "NoOp"}, {"addr", "0A03.TEMP"}}, {unsupported}, nullptr},
        {{{"addr", "0E03.TEMP"}}, {node("0E"), child("0E03"), unsupported}, nullptr},
        {{{"mcmd", "ON"}, {"addr", "0A03"}}, {badAddress}, nullptr},
        {{{"mcmd", "ON"}, {"addr", "0A03.TEMP.X"}}, {badAddress}, nullptr},
        {{{"mcmd", "ON"}}, {badAddress}, nullptr},
    };
    Conversation talk;
    for (const Step& step : steps) {
        Effects expected = effects(step.before);
        if (step.line != nullptr) {
            expected.host.push_back(log("outgoing command (" + std::string(step.line) + ")"));
            expected.gateway = std::string(step.line) + "\n";
        }
        EXPECT_EQ(talk.hostSends(multipacket(step.entries)), expected) << readable(multipacket(step.entries));
    }
    // A sensor that was commanded first is new all the same.
    EXPECT_EQ(
        talk.gatewaySays("10;3;1;0;2;0\n"),
        effects({unit("0A03.STATUS"), newUnit("0A03", "STATUS", false, false), onOff("ON", "0A03.STATUS")}));
}

using Addresses = std::vector<std::string>;

const Packet kGetUnits = multi({{"mcmd", "getUnits"}});

Addresses unitsOf(int first, int last, Addresses more = {}) {
    constexpr char kDigits[] = "0123456789abcdef";
    for (int node = first; node <= last; ++node)
        more.push_back(std::string{kDigits[node >> 4], kDigits[node & 15]} + "03.TEMP");
    return more;
}

TEST(NodeIds, FollowTheHostsUnits) {
    struct Case {
        const char* name;
        Addresses addresses;
        int id; // 0 when all slots count as full
    };
    const Case cases[] = {
        {"no units", {}, 1},
        {"highest plus one", {"0203.TEMP", "0103.TEMP", "0104.HUM"}, 3},
        {"gaps stay", {"01FF", "FC00.TEMP"}, 253},
        {"253 fills the range", {"0100.TEMP", "FD00.TEMP"}, 0},
        {"254 reuses the highest gap", {"0100.TEMP", "FE00.TEMP"}, 253},
        {"254 and none free", unitsOf(1, 254), 255},
        {"254 and 1 alone free", unitsOf(2, 254), 1},
        {"255 alone", {"FF00.TEMP"}, 0},
        {"255 and 254", {"FF00.TEMP", "FE00.TEMP", "FD00.TEMP"}, 252},
        {"255 and none free", unitsOf(1, 255), 256},
        {"foreign addresses", {"ZZ00.TEMP", "A", "", "lamp"}, 11},
        {"small letters", {"0b00.temp"}, 12},
    };
    Conversation talk;
    for (const Case& c : cases) {
        EXPECT_EQ(talk.gatewaySays("255;254;3;0;3;\n"), effects({kGetUnits})) << c.name;
        const std::string id = std::to_string(c.id);
        const Effects expected = c.id == 0 ? effects({log("node requests new ID but all slots are full.")})
                                           : effects({log("responding to node ID request with ID: " + id)},
                                                     "255;254;3;0;4;" + id + "\n");
        EXPECT_EQ(talk.hostSends(unitsPacket(c.addresses)), expected) << c.name;
    }
    EXPECT_EQ(talk.hostSends(unitsPacket(Addresses{"0100.TEMP"})), Effects{}) << "nobody asked";
}

TEST(NodeIds, AreGivenWhateverTheHostSends) {
    const std::string known = "O" + std::string("\4\0\0\0unit", 8) + document({{"Address", "0503.TEMP"}}, {});
    const std::string cutUnit = "O" + std::string("\4\0\0\0unitKbd", 11);
    Conversation talk;
    talk.gatewaySays("255;255;3;0;3;\n");
    EXPECT_EQ(talk.hostSends(multipacket({{"mcmd", "SETUNITS"}})), // without data
              effects({log("responding to node ID request with ID: 1")}, "255;255;3;0;4;1\n"));
    talk.gatewaySays("255;255;3;0;3;\n");
    // The two bytes behind the byte order say nothing, even where they look like an end.
    EXPECT_EQ(talk.hostSends(unitsPacket("KbdbALEE" + known + cutUnit)),
              effects({log("Hearthix sent no valid data in response to asking for units"),
                       log("responding to node ID request with ID: 6")},
                      "255;255;3;0;4;6\n"));
}

TEST(NodeIds, TheLatestRequestIsServedAndServedOnce) {
    const std::string units = unitsPacket(Addresses{"0100.TEMP"});
    Conversation talk;
    EXPECT_EQ(talk.gatewaySays("255;255;3;0;3;\n9;8;3;0;3;\n"), effects({kGetUnits, kGetUnits}));
    talk.debug = true;
    talk.hostSends(commonMessage('D'));
    EXPECT_EQ(talk.hostSends(units + units),
              effects({log("set ID packet: 9;8;3;0;4;2"), log("responding to node ID request with ID: 2")},
                      "9;8;3;0;4;2\n"));
}

} // namespace

} // namespace hearthix::test
