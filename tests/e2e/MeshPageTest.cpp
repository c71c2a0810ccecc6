// The tables of docs/mesh.md, row by row: what stands there is sent, and what comes of it is compared.
#include "tests/support/Conversation.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>

namespace hearthix::test {

namespace {

using Texts = std::vector<std::string>;

// All that a pattern finds, each with its groups.
std::vector<Texts> findAll(const std::string& text, const char* pattern) {
    std::vector<Texts> all;
    const std::regex compiled(pattern, std::regex::multiline);
    for (std::sregex_iterator found(text.begin(), text.end(), compiled), end; found != end; ++found)
        all.emplace_back(found->begin(), found->end());
    return all;
}

std::vector<Texts> rowsOfPage(const char* pattern) {
    std::ifstream page(MESH_PAGE);
    return findAll({std::istreambuf_iterator<char>(page), {}}, pattern);
}

Packet packetOf(const std::string& words) {
    const auto known = findAll(words, "^(SetValue|SetDesc|NoOp|NewU) (\\w+)\\.TEMP ?(.*)$");
    if (known.empty())
        return words == "getUnits" ? multi({{"mcmd", words}}) : log(words);
    const std::string &word = known[0][1], &root = known[0][2], &rest = known[0][3], unit = root + ".TEMP";
    return word == "SetValue"  ? setValue(unit, rest)
           : word == "SetDesc" ? describe(unit, rest)
           : word == "NoOp"    ? batteryOnly(unit, rest)
                               : newUnit(root, "TEMP", true, true);
}

TEST(MeshPage, TellsWhatBecomesOfAMessage) {
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
    EXPECT_EQ(internalTypes.size(), 35U); // and none for the table without
}

TEST(MeshPage, TellsWhatBecomesOfAValue) {
    Conversation talk;
    talk.gatewaySays("10;3;1;0;99;1\n"); // the node and the child are known from now on
    int type = 0;
    for (const auto& row :
         rowsOfPage("^\\| (\\d+) \\| V_\\w+ \\| (\\w+) \\| (yes|no) \\| (yes|no) \\| (-?\\d+) \\|$")) {
        EXPECT_EQ(row[1], std::to_string(type++));
        const bool hasLevel = row[3] == "yes", isKnown = row[5] != "-1";
        const std::string unit = "0A03." + row[2];
        const Packets warning(isKnown ? 0 : 1, log("unknown variable type: " + row[1]));
        Packets told{log("creating Hearthix Unit for " + unit),
                     newUnit("0A03", row[2], hasLevel, row[4] == "no"),
                     hasLevel ? setValue(unit, "1") : onOff("OFF", unit)};
        for (const int place : {2, 1, 1}) // ahead of the value, and twice ahead of the unit
            told.insert(told.begin() + place, warning.begin(), warning.end());
        EXPECT_EQ(talk.gatewaySays("10;3;1;0;" + row[1] + ";1\n"), effects(told)) << unit;
        EXPECT_EQ(
            talk.hostSends(multipacket({{"mcmd", "SetValue"}, {"addr", unit}, {"Valu", "a b"}})).gateway,
            "10;3;1;0;" + row[5] + ";a b\n");
    }
    EXPECT_EQ(type, 57);
}

} // namespace

} // namespace hearthix::test
