// From a sensor's line to the host's units, and from a host's command to the sensor's line.
#include "tests/support/Conversation.hpp"

#include <gtest/gtest.h>

namespace hearthix::test {

namespace {

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
    const Packet unknown = log("unknown variable type: 64");
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
        {"a type beyond those that the protocol has",
         "10;3;1;0;64;5\n",
         {unit("0A03.UNKN064"), unknown, unknown, newUnit("0A03", "UNKN064", true, true), unknown,
          setValue("0A03.UNKN064", "5", "0")}},
    };
    for (const Transport transport : {Transport::tcp, Transport::serial}) {
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

} // namespace

} // namespace hearthix::test
