// The mesh as the host sees it: messages of a gateway and its nodes, the units that values create, commands,
// and the IDs of new nodes. Each row of the tables in docs/mesh.md is sent, and the result is compared with
// the row.
#include "tests/support/Conversation.hpp"

#include <gtest/gtest.h>

#include <ctime>
#include <fstream>
#include <map>
#include <regex>
#include <set>

namespace hearthix::test {

namespace {

using Texts = std::vector<std::string>;

// All matches of a pattern, each with its groups.
std::vector<Texts> findAll(const std::string& text, const char* pattern) {
    std::vector<Texts> all;
    const std::regex compiled(pattern, std::regex::multiline);
    for (std::sregex_iterator found(text.begin(), text.end(), compiled), end; found != end; ++found)
        all.emplace_back(found->begin(), found->end());
    return all;
}

// A packet in words: a command, its unit, the value, and "@" with the battery level unless it is 0, as in
// "SetValue 0A03.TEMP 21.5 @80"; "node 0A", "child 0A03" or "unit 0A03.TEMP" for the log line about a new
// one; or any other line of the log.
Packet packetOf(const std::string& words) {
    if (words == "getUnits")
        return multi({{"mcmd", words}});
    static const std::map<std::string, std::string> kShort{
        {"node ", "creating unit at node level for node: "},
        {"child ", "creating child object at Address: "},
        {"unit ", "creating Hearthix Unit for "},
        {"unknown ", "unknown variable type: "}};
    for (const auto& part : findAll(words, "^(\\w+ )([\\w.-]+)$"))
        if (const auto known = kShort.find(part[1]); known != kShort.end())
            return log(known->second + part[2]);
    const auto known =
        findAll(words, "^(SetValue|SetDesc|NoOp|NewU|ON|OFF) (\\w+)\\.([\\w-]+) ?([^@]*?)(?: ?@(-?\\d+))?$");
    if (known.empty())
        return log(words, words.starts_with("failed to parse ") ? 4 : 2);
    const std::string &word = known[0][1], &root = known[0][2], &suffix = known[0][3], &rest = known[0][4],
                      unit = root + "." + suffix, battery = known[0][5].empty() ? "0" : known[0][5];
    const bool isSensor = rest.empty();
    return word == "SetValue"  ? setValue(unit, rest, battery)
           : word == "SetDesc" ? describe(unit, rest, battery)
           : word == "NoOp"    ? batteryOnly(unit, rest)
           : word == "NewU"
               ? newUnit(root, suffix, isSensor || rest == "dimmer", isSensor || rest == "contact")
               : onOff(word, unit, battery);
}

// Packets in words, separated by a comma and a blank.
Packets packetsOf(const std::string& all) {
    Packets packets;
    for (const auto& each : findAll(all, "(.+?)(?:, |$)"))
        packets.push_back(packetOf(each[1]));
    return packets;
}

TEST(GatewayLines, AreReportedToTheHost) {
    struct Case {
        const char *line, *host, *reply = "";
    };
    const Case cases[] = {
        {"-1;300;0;x;99;", "presentation packet from node: FF2C ()"},
        {"12;3;3;0;6;0", "sending config to node: 12;3;3;0;6;I", "12;3;3;0;6;I\n"},
        {"300;255;3;0;12;1.0", "node (2C) sketch version: 1.0"},
        {"5;255;3;0;14;x", "Node: (05) x"},
        {"12;0;9;0;2;1", ""},
        {"5;255;3;0;-1;1", ""},
        {"5;255;3;0;1000;1", ""},
        {"", "failed to parse Command: ()"},
        {"1;2;3;4;5", "malformed mySensors packet: (1;2;3;4;5), failed to parse Command: (1;2;3;4;5)"},
    };
    Conversation talk;
    std::string all;
    Effects together;
    for (const Case& c : cases) {
        const Packets host = packetsOf(c.host);
        EXPECT_EQ(talk.gatewaySays(std::string(c.line) + "\n"), effects(host, c.reply)) << c.line;
        all += std::string(c.line) + "\n";
        together.host.insert(together.host.end(), host.begin(), host.end());
        together.gateway += c.reply;
    }
    EXPECT_EQ(talk.gatewaySays(all), together) << "all at once";
}

TEST(GatewayLines, AreDescribedInDebugMode) {
    Conversation talk;
    talk.debug = true;
    EXPECT_EQ(talk.hostSends(commonMessage('D')), effects({log("mySensors debug mode is now: ON")}));
    const std::string marker = Conversation::markerLine();
    struct Case {
        std::string line, parts, further;
    };
    for (const auto& [line, parts, further] :
         {Case{"5;255;1;2;21;",
               "255(FF) messageType=1(SET value) ack=2(unknown) SubType=21(setting variable type: FAN) "
               "PayLoad= ()",
               "node 05, node 05, node 05 received a node level message that wasn't an internal command: "},
          Case{"5;3;0;1;6;x",
               "3(03) messageType=0(presentation) ack=1(ack response) SubType=6(presenting: Temperature) "
               "PayLoad=x ( 78)",
               "presentation packet from node: 0503 (x)"},
          Case{"5;3;4;0;2;",
               "3(03) messageType=4(stream) ack=0(normal message) SubType=2(stream packet) PayLoad= ()",
               "unhandled command (5;3;4;0;2;)"},
          Case{"5;3;9;0;2;",
               "3(03) messageType=9(unknown) ack=0(normal message) SubType=2(unknown) PayLoad= ()",
               "unhandled command (5;3;9;0;2;)"},
          Case{"5;3;2;0;46;",
               "3(03) messageType=2(REQuest value) ack=0(normal message) SubType=46(getting variable type: "
               "UNKN046) PayLoad= ()",
               "unhandled command (5;3;2;0;46;)"},
          Case{"5;255;3;0;7;0",
               "255(FF) messageType=3(internal) ack=0(normal message) SubType=7(find parent) PayLoad=0 ( 30)",
               "unhandled command: 5;255;3;0;7;0"},
          Case{"1;2", "", "malformed mySensors packet: (1;2), failed to parse Command: (1;2)"}}) {
        Packets all{log("read from port: (" + line + "\r\n" + marker.substr(0, marker.size() - 1) + ")"),
                    log("mySensors packet received (" + line + ")")};
        if (!parts.empty())
            all.push_back(log("nodeID=5(05) childID=" + parts));
        for (const Packet& packet : packetsOf(further))
            all.push_back(packet);
        EXPECT_EQ(talk.gatewaySays(line + "\r\n"), effects(all)) << line;
    }
    talk.debug = false;
    EXPECT_EQ(talk.hostSends(commonMessage('d')), effects({log("mySensors debug mode is now: OFF")}));
}

TEST(GatewayLines, ATimeRequestIsAnsweredWithTheLocalClock) {
    Conversation talk(Transport::tcp, {"env", "TZ=XYZ-5:30"});
    const std::string before = std::to_string(std::time(nullptr) + 19800);
    const std::string time = between(talk.gatewaySays("12;3;3;0;1;\n").gateway, "12;255;3;0;1;", "\n");
    EXPECT_GE(time, before);
    EXPECT_LE(time, std::to_string(std::time(nullptr) + 19800));
}

TEST(Units, AreCreatedByValues) {
    struct Step {
        const char *name, *lines, *host;
    };
    const Step steps[] = {
        {"first value of a new sensor", "10;3;1;0;0;21.5\n",
         "node 0A, child 0A03, unit 0A03.TEMP, NewU 0A03.TEMP, SetValue 0A03.TEMP 21.5"},
        {"further values, whatever the ack field and the line end", "10;3;1;1;0;-3\r\n 10;3;1;0;0;4;5 \n",
         "SetValue 0A03.TEMP -3, SetValue 0A03.TEMP 4"},
        {"further type", "10;3;1;0;3;40\n10;3;1;0;3;41\n",
         "unit 0A03.PERCENT, NewU 0A03.PERCENT dimmer, SetValue 0A03.PERCENT 40, SetValue 0A03.PERCENT 41"},
        {"a switch is ON at 0", "10;4;1;0;2;0\n10;4;1;0;2;1\n10;4;1;0;2;0.5\n10;4;1;0;2;0.0\n10;4;1;0;2;-1\n",
         "child 0A04, unit 0A04.STATUS, NewU 0A04.STATUS switch, ON 0A04.STATUS, OFF 0A04.STATUS, OFF "
         "0A04.STATUS, ON 0A04.STATUS, OFF 0A04.STATUS"},
        {"no number describes", "10;3;1;0;0;abc\n10;4;1;0;2;\n",
         "SetDesc 0A03.TEMP abc, SetDesc 0A04.STATUS"},
        {"a battery level spreads to all units", "10;255;3;0;0;80\n",
         "NoOp 0A03.TEMP 80, NoOp 0A03.PERCENT 80, NoOp 0A04.STATUS 80"},
        {"the same level, or the level of a child, has no effect",
         "10;255;3;0;0;80\n10;255;3;0;0;80.9\n10;3;3;0;0;50\n", ""},
        {"values carry the level", "10;4;1;0;2;1\n10;3;1;0;0;x\n",
         "OFF 0A04.STATUS @80, SetDesc 0A03.TEMP x @80"},
        {"a level that is no number is 0", "10;255;3;0;0;empty\n",
         "NoOp 0A03.TEMP 0, NoOp 0A03.PERCENT 0, NoOp 0A04.STATUS 0"},
        {"a sensor after its node's level", "11;255;3;0;0;0\n11;255;3;0;0;-5\n11;0;1;0;16;1\n",
         "node 0B, child 0B00, unit 0B00.TRIP, NewU 0B00.TRIP contact, OFF 0B00.TRIP @-5"},
        {"junk counts as 0", "x;1.9;1;;y;3\n",
         "node 00, child 0001, unit 0001.TEMP, NewU 0001.TEMP, SetValue 0001.TEMP 3"},
        {"a type beyond all", "10;3;1;0;64;5\n",
         "unit 0A03.UNKN064, unknown 64, unknown 64, NewU 0A03.UNKN064, unknown 64, SetValue 0A03.UNKN064 5"},
        {"another", "10;3;1;0;63;6\n",
         "unit 0A03.UNKN063, unknown 63, unknown 63, NewU 0A03.UNKN063, unknown 63, SetValue 0A03.UNKN063 6"},
        {"the same once more", "10;3;1;0;63;7\n", "unknown 63, SetValue 0A03.UNKN063 7"},
        {"one below all", "10;3;1;0;-1;8\n",
         "unit 0A03.UNKN-001, unknown -1, unknown -1, NewU 0A03.UNKN-001, unknown -1, SetValue 0A03.UNKN-001 "
         "8"}};
    for (const Transport transport : kTransports) {
        Conversation talk(transport);
        for (const Step& step : steps) {
            std::string_view rest = step.lines;
            for (; transport == Transport::serial && !rest.empty(); rest.remove_prefix(1))
                talk.gateway.say(rest.substr(0, 1)); // a byte at a time
            EXPECT_EQ(talk.gatewaySays(rest), effects(packetsOf(step.host))) << step.name;
        }
    }
}

TEST(Commands, BecomeLines) {
    constexpr const char* kBadAddress =
        "invalid address format. mySensors addresses must be 4 bytes of NodeID "
        "ChildID in hex followed by a period and the name of the variable "
        "type. Command not sent.";
    struct Step {
        Entries entries;
        const char* before; // the log lines before the outgoing one
        const char* line = nullptr;
    };
    const Step steps[] = {
        {{{"mcmd", "ON"}, {"addr", "0A03.STATUS"}}, "node 0A, child 0A03", "10;3;1;0;2;1"},
        {{{"addr", "0A03.STATUS"}, {"mcmd", "OFF"}}, "", "10;3;1;0;2;0"},
        {{{"mcmd", "SetValue"}, {"addr", "0A03.RGB"}, {"Valu", " a;b\xFF"}}, "", "10;3;1;0;40; a;b\xFF"},
        {{{"mcmd", "SetValue"}, {"addr", "0A03.TEMP"}}, "", "10;3;1;0;0;"},
        {{{"mcmd", "Qery"}, {"addr", "0A03.PERCENT"}, {"Valu", "9"}}, "", "10;3;2;0;3;"},
        {{{"MCMD", "on"}, {"Addr", "0a03.sTATUS"}}, "", "10;3;1;0;2;1"},
        {{{"mcmd", "ON"}, {"addr", "0A03.HVACMODE"}}, "", "10;3;1;0;-1;1"},
        {{{"mcmd", "ON"}, {"addr", "0AFF.WINDOW"}}, "", "10;255;1;0;29;1"},
        {{{"mcmd", "ON"}, {"addr", "0DFF.FAN"}}, "node 0D, node 0D", "13;255;1;0;21;1"},
        {{{"mcmd", "ON"}, {"addr", "123.TEMP"}}, "node 12, child 1223", "18;35;1;0;0;1"},
        {{{"mcmd", "ON"}, {"addr", "123.TEMP"}}, "child 1223", "18;35;1;0;0;1"},
        {{{"mcmd", "ON"}, {"addr", "ZZyx.TEMP"}}, "node 00, child 0000", "0;0;1;0;0;1"},
        {{{"mcmd", "NoOp"}, {"addr", "0A03.TEMP"}}, "unsupported command from Hearthix"},
        {{{"addr", "0E03.TEMP"}}, "node 0E, child 0E03, unsupported command from Hearthix"},
        {{{"mcmd", "ON"}, {"addr", "0A03"}}, kBadAddress},
        {{{"mcmd", "ON"}, {"addr", "0A03.TEMP.X"}}, kBadAddress},
        {{{"mcmd", "ON"}}, kBadAddress},
    };
    Conversation talk;
    for (const Step& step : steps) {
        Effects expected = effects(packetsOf(step.before));
        if (step.line != nullptr) {
            expected.host.push_back(log("outgoing command (" + std::string(step.line) + ")"));
            expected.gateway = std::string(step.line) + "\n";
        }
        EXPECT_EQ(talk.hostSends(multipacket(step.entries)), expected) << readable(multipacket(step.entries));
    }
    // A sensor that was commanded before it sent a value is still a new unit.
    EXPECT_EQ(talk.gatewaySays("10;3;1;0;2;0\n"),
              effects(packetsOf("unit 0A03.STATUS, NewU 0A03.STATUS switch, ON 0A03.STATUS")));
}

Texts unitsOf(int first, int last) {
    Texts units;
    constexpr char kDigits[] = "0123456789abcdef";
    for (int node = first; node <= last; ++node)
        units.push_back(std::string{kDigits[node >> 4], kDigits[node & 15]} + "03.TEMP");
    return units;
}

TEST(NodeIds, FollowTheHostsUnits) {
    struct Case {
        const char* name;
        Texts addresses;
        int id; // 0 when no ID is free
    };
    const Case cases[] = {
        {"no units", {}, 1},
        {"highest plus one", {"0203.TEMP", "0103.TEMP", "0104.HUM"}, 3},
        {"gaps are not filled", {"01FF", "FC00.TEMP"}, 253},
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
        EXPECT_EQ(talk.gatewaySays("255;254;3;0;3;\n"), effects({packetOf("getUnits")})) << c.name;
        const std::string id = std::to_string(c.id);
        const Effects expected = c.id == 0 ? effects({log("node requests new ID but all slots are full.")})
                                           : effects({log("responding to node ID request with ID: " + id)},
                                                     "255;254;3;0;4;" + id + "\n");
        EXPECT_EQ(talk.hostSends(unitsPacket(c.addresses)), expected) << c.name;
    }
    EXPECT_EQ(talk.hostSends(unitsPacket(Texts{"0100.TEMP"})), Effects{}) << "nobody asked";
}

TEST(NodeIds, AreAssignedFromDamagedDocuments) {
    const std::string known = "O" + std::string("\4\0\0\0unit", 8) + document({{"Address", "0503.TEMP"}}, {});
    const std::string cutUnit = "O" + std::string("\4\0\0\0unitKbd", 11);
    Conversation talk;
    talk.gatewaySays("255;255;3;0;3;\n");
    EXPECT_EQ(talk.hostSends(multipacket({{"mcmd", "SETUNITS"}})), // without data
              effects({log("responding to node ID request with ID: 1")}, "255;255;3;0;4;1\n"));
    talk.gatewaySays("255;255;3;0;3;\n");
    // The two bytes behind the byte order have no meaning, even where they look like an end.
    EXPECT_EQ(talk.hostSends(unitsPacket("KbdbALEE" + known + cutUnit)),
              effects({log("Hearthix sent no valid data in response to asking for units"),
                       log("responding to node ID request with ID: 6")},
                      "255;255;3;0;4;6\n"));
}

TEST(NodeIds, TheLatestRequestIsServedAndServedOnce) {
    const std::string units = unitsPacket(Texts{"0100.TEMP"});
    Conversation talk;
    EXPECT_EQ(talk.gatewaySays("255;255;3;0;3;\n9;8;3;0;3;\n"),
              effects({packetOf("getUnits"), packetOf("getUnits")}));
    talk.debug = true;
    talk.hostSends(commonMessage('D'));
    EXPECT_EQ(talk.hostSends(units + units),
              effects({log("set ID packet: 9;8;3;0;4;2"), log("responding to node ID request with ID: 2")},
                      "9;8;3;0;4;2\n"));
}

std::vector<Texts> rowsOfPage(const char* pattern) {
    std::ifstream page(MESH_PAGE);
    return findAll({std::istreambuf_iterator<char>(page), {}}, pattern);
}

TEST(MeshPage, DescribesEachMessage) {
    Conversation talk;
    std::set<std::string> internalTypes;
    for (const auto& row :
         rowsOfPage("^\\| (?:(\\d+) \\| )?[^|]+ \\| `([^`]*)` \\| ([^|]*) \\| ([^|]*) \\|$")) {
        Effects expected, found = talk.gatewaySays(row[2] + "\n");
        if (found.host == Packets{packetOf("getUnits")}) {
            const Effects answer = talk.hostSends(unitsPacket(Texts{"0A03.TEMP"}));
            found = effects({found.host[0], answer.host.at(0)}, answer.gateway);
        }
        for (const auto& code : findAll(row[3].starts_with("nothing") ? "" : row[3], "`([^`]*)`"))
            expected.host.push_back(packetOf(code[1]));
        for (const auto& code : findAll(row[4], "`([^`]*)`"))
            expected.gateway += code[1] + "\n";
        found.gateway = std::regex_replace(found.gateway, std::regex(";3;0;1;\\d+"), ";3;0;1;");
        EXPECT_EQ(found, expected) << row[2];
        EXPECT_TRUE(row[1].empty() || row[2].find(";3;0;" + row[1] + ";") != std::string::npos) << row[2];
        internalTypes.insert(row[1]);
    }
    EXPECT_EQ(internalTypes.size(), 35U); // with one for the rows that have no type
}

TEST(MeshPage, DescribesEachVariableType) {
    Conversation talk;
    talk.gatewaySays("10;3;1;0;99;1\n"); // the node and the child are known from now on
    int type = 0;
    for (const auto& row :
         rowsOfPage("^\\| (\\d+) \\| V_\\w+ \\| (\\w+) \\| (yes|no) \\| (yes|no) \\| (-?\\d+) \\|$")) {
        EXPECT_EQ(row[1], std::to_string(type++));
        const bool hasLevel = row[3] == "yes", isKnown = row[5] != "-1";
        const std::string unit = "0A03." + row[2];
        const Packets warning(isKnown ? 0 : 1, log("unknown variable type: " + row[1]));
        Packets expected{log("creating Hearthix Unit for " + unit),
                         newUnit("0A03", row[2], hasLevel, row[4] == "no"),
                         hasLevel ? setValue(unit, "1") : onOff("OFF", unit)};
        for (const int place : {2, 1, 1}) // before the value, and twice before the unit
            expected.insert(expected.begin() + place, warning.begin(), warning.end());
        EXPECT_EQ(talk.gatewaySays("10;3;1;0;" + row[1] + ";1\n"), effects(expected)) << unit;
        EXPECT_EQ(
            talk.hostSends(multipacket({{"mcmd", "SetValue"}, {"addr", unit}, {"Valu", "a b"}})).gateway,
            "10;3;1;0;" + row[5] + ";a b\n");
    }
    EXPECT_EQ(type, 57);
}

} // namespace

} // namespace hearthix::test
