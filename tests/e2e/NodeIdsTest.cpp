// The one conversation of three: a node asks for an ID, the driver asks the host for its units, and answers.
#include "tests/support/Conversation.hpp"

#include <gtest/gtest.h>

namespace hearthix::test {

namespace {

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
