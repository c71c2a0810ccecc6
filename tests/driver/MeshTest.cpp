#include "mysensors/cMSCommand.hpp"
#include "mysensors/Vocabulary.hpp"
#include "runtime/Numbers.hpp"
#include "runtime/StringFunctions.hpp"
#include "tests/driver/Driver.hpp"

#include <functional>
#include <string>
#include <vector>

namespace hearthix {
namespace {

using mySensors::varTypeConverter;

// By number: suffix, d for dimmable, r for read-only, and what the suffix leads back to when that is another.
constexpr const char* kVariableTypes =
    "TEMP:dr HUM:dr STATUS: PERCENT:d PRESSURE:dr FORECAST:dr RAIN:dr RATE:dr WIND:dr GUST:dr "
    "DIRECTION:dr UV:dr WEIGHT:dr DISTANCE:dr IMPEDE:dr ARM: TRIP:r WATTS:dr KWH:dr SCENE: SCENE::19 "
    "FAN:d SPEED:d LIGHT:dr VAR1:d VAR2:d VAR3:d VAR4:d VAR5:d WINDOW: WINDOW::29 WINDOW::29 IR:d:33 "
    "IR:d FLOW:dr VOLUME:dr LOCK: LEVEL:dr VOLTAGE:dr CURRENT:dr RGB:d RGBW:d ID:d PREFIX:r COOL:d "
    "HEAT:d";
constexpr const char* kPresentations =
    "Door,Motion,Smoke,Binary,Dimmer,window covering,Temperature,Humidity,Barometer,Wind Speed,Rain,"
    "UV,weight,Power,Heater,Distance,Light,Arduino,Arduino Repeater,Lock,IR,Water Meter,Air Quality,"
    "Custom,Dust Level,Scene Controller,RGB,RGBW,Color,HVAC,Multimeter,Sprinkler,Water Leak,Sound,"
    "Vibration,Moisture,Unknown 036";
constexpr const char* kInternals =
    "unknown,battery level,requesting time,requesting version info,requesting new node ID,"
    "sending new ID,start/stop inclusion mode,requesting config,find parent,find parent response,"
    "log message,child transfer message,node reporting sketch name,node reporting sketch version,"
    "request for node reboot,gateway reports ready,signing request,request nonce,nonce response,"
    "unknown";

class MeshTest : public DriverTest {};

TEST_F(MeshTest, KnowsTheVariableTypes) {
    const Array<String> table = Split(kVariableTypes, " ");
    ASSERT_EQ(table.Ubound(), 45);
    for (Integer number = 0; number <= 45; ++number) {
        const Array<String> fields = Split(table[number], ":");
        const Integer back = fields.Ubound() == 2 ? ValInteger(fields[2]) : number;
        EXPECT_EQ(mySensors::varTypeToSuffix(number).view(), fields[0].view());
        EXPECT_EQ(mySensors::SuffixToVarType(fields[0]), back);
        EXPECT_EQ(mySensors::isVarTypeDimmable(number), InStr(1, fields[1], "d") > 0) << fields[0].view();
        EXPECT_EQ(mySensors::isVarTypeReadOnly(number), InStr(1, fields[1], "r") > 0) << fields[0].view();
    }
    EXPECT_EQ(varTypeConverter->Count(), 88);
    EXPECT_EQ(mySensors::SuffixToVarType("temp"), 0);
    for (const char* unknown : {"HVACMODE", "", "0", "UNKN046"})
        EXPECT_EQ(mySensors::SuffixToVarType(unknown), -1) << unknown;
    EXPECT_EQ(sent(), test::Packets());
}

TEST_F(MeshTest, TakesUnknownVariableTypesForBothAndSaysSo) {
    for (const Integer number : {Integer{46}, Integer{-1}, INT64_MAX}) {
        EXPECT_TRUE(mySensors::isVarTypeDimmable(number) && mySensors::isVarTypeReadOnly(number));
        const auto line = test::log("unknown variable type: " + std::to_string(number));
        EXPECT_EQ(sent(), (test::Packets{line, line}));
    }
    expectRows(
        {Row{mySensors::varTypeToSuffix(46), "UNKN046"}, Row{mySensors::varTypeToSuffix(1000), "UNKN1000"}});
    varTypeConverter = nullptr;
    EXPECT_THROW(mySensors::varTypeToSuffix(0), NilObjectException);
    EXPECT_THROW(mySensors::SuffixToVarType("TEMP"), NilObjectException);
}

TEST_F(MeshTest, NamesTheCodes) {
    const auto names = [](String (*describe)(Integer), Integer first, Integer last) {
        Array<String> all;
        for (Integer code = first; code <= last; ++code)
            all.Append(describe(code));
        return Join(all, ",");
    };
    expectRows({Row{names(mySensors::describeMessageType, -1, 5),
                    "unknown,presentation,SET value,REQuest value,internal,stream,unknown"},
                Row{names(mySensors::describeAck, -1, 2), "unknown,normal message,ack response,unknown"},
                Row{names(mySensors::DescribePresentationSubType, 0, 36), kPresentations},
                Row{names(mySensors::DescribeInteralMessageType, -1, 18), kInternals}});
}

TEST_F(MeshTest, TakesALineApart) {
    struct Case {
        const char* line;
        std::vector<Integer> numbers;
        const char *payload, *root, *unit;
    };
    for (const Case& c : {Case{"10;3;1;0;0;21.5", {10, 3, 1, 0, 0}, "21.5", "0A03", "0A03.TEMP"},
                          Case{"5;255;3;0;0;", {5, 255, 3, 0, 0}, "", "05FF", ""},
                          Case{";;;;;", {0, 0, 0, 0, 0}, "", "0000", ""},
                          Case{"1;2;1;0;3;a;b", {1, 2, 1, 0, 3}, "a", "0102", "0102.PERCENT"},
                          Case{"1.9;-1;0;x;300; v ", {1, -1, 0, 0, 300}, " v ", "01FF", ""},
                          Case{"300;1e999;2;1;0;v", {300, INT64_MAX, 2, 1, 0}, "v", "2CFF", ""},
                          Case{"-1;-1e999;9;0;&h1F;v", {-1, INT64_MIN, 9, 0, 31}, "v", "FF00", ""},
                          Case{"44;300;1;0;100;v", {44, 300, 1, 0, 100}, "v", "2C2C", "2C2C.UNKN100"}}) {
        const cMSCommand command(c.line);
        EXPECT_TRUE(command.good);
        EXPECT_EQ(
            (std::vector{command.nodeID, command.childID, command.messageType, command.ack, command.SubType}),
            c.numbers)
            << c.line;
        expectRows({Row{command.PayLoad, c.payload}, Row{command.rootAddress, c.root},
                    Row{command.HearthixAddressWithSubtype, c.unit}, Row{command.RawCommand, ""}});
    }
    EXPECT_EQ(sent(), test::Packets());
}

TEST_F(MeshTest, FormatsBytes) {
    expectRows({Row{Globals::Hexify(""), ""}, Row{Globals::Hexify("J\x05"), " 4A 05"},
                Row{Globals::formatHex(0), "00"}, Row{Globals::formatHex(255), "FF"},
                Row{Globals::formatHexOfLowByte(-2), "FE"}});
}

} // namespace
} // namespace hearthix
