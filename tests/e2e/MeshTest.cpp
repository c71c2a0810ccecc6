// The mesh as the host sees it: messages of a gateway and its nodes, the units that values create, commands,
// and the IDs of new nodes. Each row of the tables in docs/mesh.md is sent, and the result is compared with
// the row.
#include "tests/support/Conversation.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
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
// "SetValue 0A03.TEMP 21.5 @80"; or any other line of the log.
Packet packetOf(const std::string& words) {
    if (words == "getUnits")
        return multi({{"mcmd", words}});
    const auto known =
        findAll(words, "^(SetValue|SetDesc|NoOp|NewU|ON|OFF) (\\w+)\\.([\\w-]+) ?([^@]*?)(?: ?@(-?\\d+))?$");
    if (known.empty())
        return log(words, words.starts_with("failed to parse ") ? 4 : 2);
    const std::string &word = known[0][1], &root = known[0][2], &suffix = known[0][3], &rest = known[0][4];
    const std::string unit = root + "." + suffix, battery = known[0][5].empty() ? "0" : known[0][5];
    if (word == "SetValue")
        return setValue(unit, rest, battery);
    if (word == "SetDesc")
        return multi({{"addr", unit}, {"mcmd", word}, {"DATA", rest}, {"Batt", battery}});
    if (word == "NoOp")
        return multi({{"mcmd", word}, {"addr", unit}, {"Batt", rest}});
    if (word == "NewU")
        return newUnit(root, suffix, rest.empty() || rest == "dimmer", rest.empty() || rest == "contact");
    return multi({{"addr", unit}, {"mcmd", word}, {"Batt", battery}});
}

// Text in which "\0D" is the byte with this hexadecimal number.
std::string unescaped(std::string text) {
    for (std::size_t at = 0; (at = text.find('\\', at)) != std::string::npos; ++at)
        text.replace(at, 3, 1, static_cast<char>(std::stoi(text.substr(at + 1, 2), nullptr, 16)));
    return text;
}

// "mcmd=ON addr=0A03.TEMP".
std::string commandOf(const std::string& words) {
    Entries entries;
    for (const auto& entry : findAll(words, "(\\w+)=(\\S*)"))
        entries.emplace_back(entry[1], unescaped(entry[2]));
    return multipacket(entries);
}

// Has a conversation of MeshConversations.md, which explains its form, with a new driver.
void converse(const std::string& title, Transport transport = Transport::tcp) {
    Conversation talk(transport);
    std::ifstream page(MESH_CONVERSATIONS);
    std::string lines, packets;
    Effects expected;
    int checks = 0;
    const auto check = [&] {
        if (lines.empty() && packets.empty())
            return;
        const std::string sent = lines + readable(packets);
        for (; transport == Transport::serial && !lines.empty(); lines.erase(0, 1))
            talk.gateway.say(lines.substr(0, 1)); // a byte at a time
        EXPECT_EQ(packets.empty() ? talk.gatewaySays(lines) : talk.hostSends(packets), expected) << sent;
        lines = packets = "";
        expected = {};
        ++checks;
    };
    std::string line;
    while (line != "## " + title && std::getline(page, line)) {
    }
    while (std::getline(page, line) && !line.starts_with("## ")) {
        const std::string words = line.substr(std::min<std::size_t>(line.size(), 13));
        if (line.starts_with("    gateway")) {
            lines += unescaped(words) + "\n";
        } else if (line.starts_with("    host")) {
            packets = commandOf(words);
        } else if (line == "    debug") {
            talk.debug = !talk.debug;
            packets = commonMessage('D');
        } else if (line.starts_with("    > ")) {
            expected.host.push_back(packetOf(unescaped(line.substr(6))));
        } else if (line.starts_with("    < ")) {
            expected.gateway += unescaped(line.substr(6)) + "\n";
        } else {
            check();
        }
    }
    check();
    EXPECT_GT(checks, 0) << "there is no conversation: " << title;
}

TEST(Units, AreCreatedByValues) {
    for (const Transport transport : kTransports)
        converse("Units are created by values", transport);
}

TEST(Commands, BecomeLines) {
    converse("Commands become lines");
}

TEST(GatewayLines, AreReportedToTheHost) {
    converse("Messages with odd fields");
}

TEST(GatewayLines, AreDescribedInDebugMode) {
    converse("Debug mode describes each message");
}

TEST(NodeIds, FollowTheHostsUnits) {
    Conversation talk;
    for (const auto& [addresses, id] : {std::pair(Texts{}, std::string("1")),
                                        {{"0203.TEMP", "0103.TEMP", "0104.HUM"}, "3"},
                                        {{"FD00.TEMP"}, ""},
                                        {{"0100.TEMP", "FE00.TEMP"}, "253"},
                                        {{"FF00.TEMP"}, ""},
                                        {{"FF00.TEMP", "FE00.TEMP", "FD00.TEMP"}, "252"},
                                        {{"ZZ00.TEMP", "A", "", "lamp"}, "11"},
                                        {{"0b00.temp"}, "12"}}) {
        EXPECT_EQ(talk.gatewaySays("255;254;3;0;3;\n"), effects({packetOf("getUnits")})) << id;
        const Effects expected = id.empty() ? effects({log("node requests new ID but all slots are full.")})
                                            : effects({log("responding to node ID request with ID: " + id)},
                                                      "255;254;3;0;4;" + id + "\n");
        EXPECT_EQ(talk.hostSends(unitsPacket(addresses)), expected) << id;
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
                         hasLevel ? setValue(unit, "1") : packetOf("OFF " + unit)};
        for (const int place : {2, 1, 1}) // before the value, and twice before the unit
            expected.insert(expected.begin() + place, warning.begin(), warning.end());
        EXPECT_EQ(talk.gatewaySays("10;3;1;0;" + row[1] + ";1\n"), effects(expected)) << unit;
        EXPECT_EQ(
            talk.hostSends(multipacket({{"mcmd", "SetValue"}, {"addr", unit}, {"Valu", "a b"}})).gateway,
            "10;3;1;0;" + row[5] + ";a b\n");
    }
    EXPECT_EQ(type, 58);
}

} // namespace

} // namespace hearthix::test
