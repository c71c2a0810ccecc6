// Packets from the host that the driver itself is meant by, and the framing that cuts them from the stream.
#include "tests/support/Conversation.hpp"

#include <gtest/gtest.h>

namespace hearthix::test {

namespace {

const std::string kPing = multipacket({{"mcmd", "ping"}});
const Packet kAnswer = multi({{"mcmd", "PSrp"}});
const Packet kMalformed = log("mySensors: Received malformed packet from host", 4);

std::string withFirstByte(std::string packet, char first) {
    packet[0] = first;
    return packet;
}

TEST(HostLink, BytesOnTheWire) {
    Conversation talk;
    const std::string ping("\x4A\x0E\x00\x80\x6D\x63\x6D\x64\x04\x00\x70\x69\x6E\x67", 14);
    const std::string answer("\x4A\x0E\x00\x80\x6D\x63\x6D\x64\x04\x00\x50\x53\x72\x70", 14);
    EXPECT_EQ(talk.hostSends(ping), effects({{answer}}));
    EXPECT_EQ(talk.hostSends(std::string("X\x10"
                                         "a\x40LX\x40"
                                         "0D00\0\0\0 \r",
                                         16))
                  .host[0],
              (Packet{"L\x22\x02mySensors debug mode is now: ON"}));
}

TEST(HostLink, CommandsToTheDriver) {
    struct Case {
        const char* name;
        std::string packets;
        Packets host;
        std::string gateway;
    };
    const Packet on = log("MySensors plugin debug mode is now on");
    const Packet off = log("MySensors plugin debug mode is now off'");
    const auto debug = [](const std::string& value) {
        return multipacket({{"Valu", value}, {"mcmd", "DEBUG"}});
    };
    std::string everyByte;
    for (int value = 0; value < 240; ++value)
        everyByte += static_cast<char>(value);
    const Case cases[] = {
        {"ping in any letters, with more",
         multipacket({{"PkID", "77"}, {"mcmd", "PiNG"}, {"addr", "0A03"}}),
         {kAnswer},
         ""},
        {"big-endian entries", multipacket({{"mcmd", "ping"}}, 0), {kAnswer}, ""},
        {"little-endian by bit 128 alone", multipacket({{"mcmd", "ping"}}, 255), {kAnswer}, ""},
        {"a small j", withFirstByte(kPing, 'j'), {kAnswer}, ""},
        {"the later of two entries", multipacket({{"mcmd", "close"}, {"MCMD", "ping"}}), {kAnswer}, ""},
        {"several at once",
         kPing + commonMessage('?') + kPing + rawData("x") + kPing,
         {kAnswer, kAnswer, kAnswer},
         "x"},
        {"unknown commands to the driver", commonMessage('0') + commonMessage('A', 65, 'N'), {}, ""},
        {"debug off by anything",
         debug("yes") + debug("") + multipacket({{"mcmd", "debug"}}),
         {off, off, off},
         ""},
        {"debug on in capitals, and off", debug("TRUE") + debug("false"), {on, off}, ""},
        {"D toggles",
         commonMessage('D') + commonMessage('D'),
         {log("mySensors debug mode is now: ON"), log("mySensors debug mode is now: OFF")},
         ""},
        {"both switch the same",
         commonMessage('D', 64, 'M') + debug("no") + debug("true") + commonMessage('D', 64, 'Y'),
         {log("mySensors debug mode is now: ON"), off, on, log("mySensors debug mode is now: OFF")},
         ""},
        {"raw data",
         rawData("1;2;1;0;3;4\n") + rawData("") + rawData(everyByte),
         {},
         "1;2;1;0;3;4\n" + everyByte},
        {"raw data of other lengths", withFirstByte(rawData("abc"), 'y'), {}, "abc"},
        {"malformed",
         commonMessage('D', 64, 'A') + commonMessage('Q', 64, 'E') + commonMessage('Q', 64, '?'),
         {kMalformed, kMalformed, kMalformed},
         ""},
        {"a length of 1 gives up one byte",
         std::string("Z\1\2", 3) + kPing,
         {kMalformed, kMalformed, kAnswer},
         ""},
    };
    for (const Transport transport : {Transport::tcp, Transport::serial}) {
        Conversation talk(transport);
        for (const Case& c : cases)
            EXPECT_EQ(talk.hostSends(c.packets), effects(c.host, c.gateway)) << c.name;
    }
}

TEST(HostLink, APacketInTwoPiecesWaitsForItsRest) {
    Conversation talk;
    for (std::size_t place = 5; place < kPing.size(); ++place) {
        talk.host.send(kPing + kPing.substr(0, place));
        EXPECT_EQ(talk.host.next(), kAnswer);
        talk.gateway.say(Conversation::markerLine()); // its log line makes the driver read what has come
        EXPECT_EQ(talk.host.next(), log("Gateway Message: #")) << place;
        EXPECT_EQ(talk.hostSends(kPing.substr(place) + kPing), effects({kAnswer, kAnswer})) << place;
    }
}

TEST(HostLink, ABareHeaderCountsAsACommonMessage) {
    Conversation talk;
    talk.host.send(multipacket({}));
    EXPECT_EQ(talk.host.next(), kMalformed);
    EXPECT_EQ(talk.hostSends(kPing), effects({kAnswer}));
}

TEST(HostLink, LongLinesAreCut) {
    Conversation talk;
    const std::string longText(245, 'm');
    EXPECT_EQ(talk.gatewaySays("0;255;3;0;9;" + longText + "\n"),
              effects({log(("Gateway Message: " + longText).substr(0, 249))}));
    const std::string fits(232, 'n');
    EXPECT_EQ(talk.gatewaySays("0;255;3;0;9;" + fits + "\n"), effects({log("Gateway Message: " + fits)}));
}

} // namespace

} // namespace hearthix::test
