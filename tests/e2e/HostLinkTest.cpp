// Packets from the host that are meant for the driver itself, and how they are separated from the stream.
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

TEST(HostLink, CommandsToTheDriver) {
    struct Case {
        const char* name;
        std::string packets;
        Packets host;
        std::string gateway = {};
    };
    const Packet on = log("MySensors plugin debug mode is now on");
    const Packet off = log("MySensors plugin debug mode is now off'");
    const Packet toggledOn = log("mySensors debug mode is now: ON");
    const Packet toggledOff = log("mySensors debug mode is now: OFF");
    const auto debug = [](const std::string& value) {
        return multipacket({{"Valu", value}, {"mcmd", "DEBUG"}});
    };
    const std::string toggle = commonMessage('D');
    std::string everyByte;
    for (int value = 0; value < 240; ++value)
        everyByte += static_cast<char>(value);
    const Case cases[] = {
        {"any letters, and more",
         multipacket({{"PkID", "7"}, {"mcmd", "PiNG"}, {"addr", "0A03"}}),
         {kAnswer}},
        {"big-endian entries", multipacket({{"Valu", "x"}, {"mcmd", "ping"}}, 127), {kAnswer}},
        {"other flags", multipacket({{"mcmd", "ping"}}, 255), {kAnswer}},
        {"a small j", withFirstByte(kPing, 'j'), {kAnswer}},
        {"the later of two entries", multipacket({{"mcmd", "close"}, {"MCMD", "ping"}}), {kAnswer}},
        {"several at once", kPing + commonMessage('?') + kPing + rawData("x"), {kAnswer, kAnswer}, "x"},
        {"unknown commands", commonMessage('0') + commonMessage('A', 65, 'N'), {}},
        {"debug off by anything", debug("yes") + multipacket({{"mcmd", "debug"}}), {off, off}},
        {"debug on in capitals", debug("TRUE") + debug("false"), {on, off}},
        {"two commands, one switch",
         commonMessage('d', 64, 'M') + debug("no") + debug("true") + commonMessage('D', 255, 'Y') + toggle +
             toggle,
         {toggledOn, off, on, toggledOff, toggledOn, toggledOff}},
        {"raw data",
         rawData("1;2\n") + withFirstByte(rawData(""), 'y') + rawData(everyByte),
         {},
         "1;2\n" + everyByte},
        {"malformed",
         commonMessage('D', 64, 'A') + commonMessage('Q', 64, 'E') + commonMessage('Q', 64, '?'),
         {kMalformed, kMalformed, kMalformed}},
        {"a length of 1 discards one byte", "Z\1\2" + kPing, {kMalformed, kMalformed, kAnswer}},
    };
    for (const Transport transport : kTransports) {
        Conversation talk(transport);
        for (const Case& c : cases)
            EXPECT_EQ(talk.hostSends(c.packets), effects(c.host, c.gateway)) << c.name;
    }
}

TEST(HostLink, APacketInTwoPiecesWaitsForItsRest) {
    Conversation talk;
    talk.host.say(multipacket({})); // a header alone counts as a common message
    EXPECT_EQ(talk.host.next(), kMalformed);
    for (std::size_t place = 5; place < kPing.size(); ++place) {
        talk.host.say(kPing + kPing.substr(0, place));
        EXPECT_EQ(talk.host.next(), kAnswer);
        talk.gateway.say(Conversation::markerLine()); // its log line makes the driver read from the host
        EXPECT_EQ(talk.host.next(), log("Gateway Message: #")) << place;
        EXPECT_EQ(talk.hostSends(kPing.substr(place) + kPing), effects({kAnswer, kAnswer})) << place;
    }
}

TEST(HostLink, LongLinesAreCut) {
    Conversation talk;
    for (const int size : {0, 232, 233, 245, 1 << 20}) {
        const std::string text = "Gateway Message: " + std::string(static_cast<std::size_t>(size), 'm');
        EXPECT_EQ(talk.gatewaySays("0;255;3;0;9;" + text.substr(17) + "\n"),
                  effects({log(text.substr(0, 249))}));
    }
}

} // namespace

} // namespace hearthix::test
