// From a sensor's line to the host's units, and from a host's command to the sensor's line.
#include "tests/support/Conversation.hpp"

#include <gtest/gtest.h>

namespace hearthix::test {

namespace {

Packet creatingNode(const std::string& node) {
    return log("creating unit at node level for node: " + node);
}

Packet creatingChild(const std::string& root) {
    return log("creating child object at Address: " + root);
}

Packet creatingUnit(const std::string& address) {
    return log("creating Hearthix Unit for " + address);
}

Packet unknownType(int type) {
    return log("unknown variable type: " + std::to_string(type));
}

TEST(Units, GrowFromValues) {
    struct Step {
        const char* name;
        const char* lines;
        Packets host;
    };
    const std::string notInternal = " received a node level message that wasn't an internal command: ";
    const Step steps[] = {
        {"first value of a new sensor",
         "10;3;1;0;0;21.5\n",
         {creatingNode("0A"), creatingChild("0A03"), creatingUnit("0A03.TEMP"),
          newUnit("0A03", "TEMP", true, true), setValue("0A03.TEMP", "21.5")}},
        {"further values, whatever the ack field and the line end",
         "10;3;1;1;0;-3\r\n 10;3;1;0;0;4;5 \n",
         {setValue("0A03.TEMP", "-3"), setValue("0A03.TEMP", "4")}},
        {"further type",
         "10;3;1;0;1;40\n10;3;1;0;1;41\n",
         {creatingUnit("0A03.HUM"), newUnit("0A03", "HUM", true, true), setValue("0A03.HUM", "40"),
          setValue("0A03.HUM", "41")}},
        {"a switch has two states, 0 is ON",
         "10;4;1;0;2;0\n10;4;1;0;2;1\n10;4;1;0;2;0.5\n10;4;1;0;2;0.0\n",
         {creatingChild("0A04"), creatingUnit("0A04.STATUS"), newUnit("0A04", "STATUS", false, false),
          onOff("ON", "0A04.STATUS"), onOff("OFF", "0A04.STATUS"), onOff("OFF", "0A04.STATUS"),
          onOff("ON", "0A04.STATUS")}},
        {"no number describes",
         "10;3;1;0;0;abc\n10;4;1;0;2;\n",
         {describe("0A03.TEMP", "abc"), describe("0A04.STATUS", "")}},
        {"a battery level spreads to all units",
         "10;255;3;0;0;80\n",
         {batteryOnly("0A03.TEMP", "80"), batteryOnly("0A03.HUM", "80"), batteryOnly("0A04.STATUS", "80")}},
        {"the same level is no news", "10;255;3;0;0;80\n10;255;3;0;0;80.9\n", {}},
        {"values carry the level",
         "10;4;1;0;2;1\n10;3;1;0;0;x\n",
         {onOff("OFF", "0A04.STATUS", "80"), describe("0A03.TEMP", "x", "80")}},
        {"a child's battery is nobody's", "10;3;3;0;0;50\n", {}},
        {"a level that is no number is 0",
         "10;255;3;0;0;empty\n",
         {batteryOnly("0A03.TEMP", "0"), batteryOnly("0A03.HUM", "0"), batteryOnly("0A04.STATUS", "0")}},
        {"a node without sensors", "11;255;3;0;0;0\n11;255;3;0;0;-5\n", {creatingNode("0B")}},
        {"its first sensor has its level",
         "11;0;1;0;16;1\n",
         {creatingChild("0B00"), creatingUnit("0B00.TRIP"), newUnit("0B00", "TRIP", false, true),
          onOff("OFF", "0B00.TRIP", "-5")}},
        {"unknown types",
         "10;3;1;0;46;7\n10;3;1;0;100;x\n10;3;1;0;100;y\n",
         {creatingUnit("0A03.UNKN046"), unknownType(46), unknownType(46),
          newUnit("0A03", "UNKN046", true, true), unknownType(46), setValue("0A03.UNKN046", "7"),
          creatingUnit("0A03.UNKN100"), unknownType(100), unknownType(100),
          newUnit("0A03", "UNKN100", true, true), describe("0A03.UNKN100", "x"),
          describe("0A03.UNKN100", "y")}},
        {"types that share a suffix",
         "10;3;1;0;19;1\n10;3;1;0;20;0\n",
         {creatingUnit("0A03.SCENE"), newUnit("0A03", "SCENE", false, false), onOff("OFF", "0A03.SCENE"),
          creatingUnit("0A03.SCENE"), newUnit("0A03", "SCENE", false, false), onOff("ON", "0A03.SCENE")}},
        {"a value of the node itself",
         "12;255;1;0;0;5\n12;255;1;0;0;5\n",
         {creatingNode("0C"), creatingNode("0C"), log("node 0C" + notInternal),
          log("node 0C" + notInternal)}},
        {"only the low byte of a node makes its address",
         "300;1;1;0;0;1\n44;1;1;0;0;2\n",
         {creatingNode("2C"), creatingChild("2C01"), creatingUnit("2C01.TEMP"),
          newUnit("2C01", "TEMP", true, true), setValue("2C01.TEMP", "1"), setValue("2C01.TEMP", "2")}},
        {"junk counts as 0",
         "x;1.9;1;;y;3\n",
         {creatingNode("00"), creatingChild("0001"), creatingUnit("0001.TEMP"),
          newUnit("0001", "TEMP", true, true), setValue("0001.TEMP", "3")}},
    };
    for (const Transport transport : {Transport::tcp, Transport::serial}) {
        Conversation talk(transport);
        for (const Step& step : steps)
            EXPECT_EQ(talk.gatewaySays(step.lines), effects(step.host)) << step.name;
    }
}

TEST(Commands, BecomeLines) {
    const Packet badAddress = log(
        "invalid address format. mySensors addresses must be 4 bytes of NodeID ChildID in hex followed by a "
        "period and the name of the variable type. Command not sent.");
    const Packet unsupported = log("unsupported command from Hearthix");
    struct Step {
        const char* name;
        Entries entries;
        Packets before; // ahead of the line, or alone
        const char* line;
    };
    const Step steps[] = {
        {"unknown address",
         {{"mcmd", "ON"}, {"addr", "0A03.STATUS"}},
         {creatingNode("0A"), creatingChild("0A03")},
         "10;3;1;0;2;1"},
        {"known address", {{"addr", "0A03.STATUS"}, {"mcmd", "OFF"}}, {}, "10;3;1;0;2;0"},
        {"value", {{"mcmd", "SetValue"}, {"addr", "0A03.TEMP"}, {"Valu", "55"}}, {}, "10;3;1;0;0;55"},
        {"value as it is",
         {{"mcmd", "SetValue"}, {"addr", "0A03.RGB"}, {"Valu", " a;b\xFF"}},
         {},
         "10;3;1;0;40; a;b\xFF"},
        {"no value", {{"mcmd", "SetValue"}, {"addr", "0A03.VAR1"}}, {}, "10;3;1;0;24;"},
        {"query", {{"mcmd", "Qery"}, {"addr", "0A03.PERCENT"}, {"Valu", "9"}}, {}, "10;3;2;0;3;"},
        {"letters of any size", {{"MCMD", "on"}, {"Addr", "0a03.sTATUS"}}, {}, "10;3;1;0;2;1"},
        {"unknown suffix", {{"mcmd", "ON"}, {"addr", "0A03.NOSUCH"}}, {}, "10;3;1;0;-1;1"},
        {"no suffix", {{"mcmd", "ON"}, {"addr", "0A03."}}, {}, "10;3;1;0;-1;1"},
        {"shared suffixes", {{"mcmd", "ON"}, {"addr", "0A03.WINDOW"}}, {}, "10;3;1;0;29;1"},
        {"21 is a fan", {{"mcmd", "ON"}, {"addr", "0A03.HVACMODE"}}, {}, "10;3;1;0;-1;1"},
        {"known node level", {{"mcmd", "ON"}, {"addr", "0AFF.TEMP"}}, {}, "10;255;1;0;0;1"},
        {"unknown node level",
         {{"mcmd", "ON"}, {"addr", "0DFF.TEMP"}},
         {creatingNode("0D"), creatingNode("0D")},
         "13;255;1;0;0;1"},
        {"short root",
         {{"mcmd", "ON"}, {"addr", "123.TEMP"}},
         {creatingNode("12"), creatingChild("1223")},
         "18;35;1;0;0;1"},
        {"short root again",
         {{"mcmd", "ON"}, {"addr", "123.TEMP"}},
         {creatingChild("1223")},
         "18;35;1;0;0;1"},
        {"no digits",
         {{"mcmd", "ON"}, {"addr", "ZZyx.TEMP"}},
         {creatingNode("00"), creatingChild("0000")},
         "0;0;1;0;0;1"},
        {"no root", {{"mcmd", "ON"}, {"addr", ".TEMP"}}, {creatingChild("0000")}, "0;0;1;0;0;1"},
        {"word of the other direction", {{"mcmd", "NoOp"}, {"addr", "0A03.TEMP"}}, {unsupported}, nullptr},
        {"no word",
         {{"addr", "0E03.TEMP"}},
         {creatingNode("0E"), creatingChild("0E03"), unsupported},
         nullptr},
        {"one field", {{"mcmd", "ON"}, {"addr", "0A03"}}, {badAddress}, nullptr},
        {"three fields", {{"mcmd", "ON"}, {"addr", "0A03.TEMP.X"}}, {badAddress}, nullptr},
        {"no address", {{"mcmd", "ON"}}, {badAddress}, nullptr},
        {"nothing at all but a key", {{"????", ""}}, {badAddress}, nullptr},
    };
    Conversation talk;
    for (const Step& step : steps) {
        Effects expected = effects(step.before);
        if (step.line != nullptr) {
            expected.host.push_back(log("outgoing command (" + std::string(step.line) + ")"));
            expected.gateway = std::string(step.line) + "\n";
        }
        EXPECT_EQ(talk.hostSends(multipacket(step.entries)), expected) << step.name;
    }
    EXPECT_EQ(talk.gatewaySays("10;3;1;0;2;0\n"),
              effects({creatingUnit("0A03.STATUS"), newUnit("0A03", "STATUS", false, false),
                       onOff("ON", "0A03.STATUS")}))
        << "a sensor that was commanded first is new all the same";
}

} // namespace

} // namespace hearthix::test
