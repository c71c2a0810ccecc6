#include "mysensors/Vocabulary.hpp"
#include "runtime/Numbers.hpp"
#include "runtime/StringFunctions.hpp"
#include "tests/driver/Driver.hpp"

#include <string>

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
    EXPECT_EQ(mySensors::varTypeToSuffix(1000).view(), "UNKN1000");
    varTypeConverter = nullptr;
    EXPECT_THROW(mySensors::varTypeToSuffix(0), NilObjectException);
}

// All names in a row: a slip in any of them shows.
TEST_F(MeshTest, NamesTheCodes) {
    String all;
    for (const auto describe :
         {mySensors::describeMessageType, mySensors::describeAck, mySensors::DescribePresentationSubType,
          mySensors::DescribeInteralMessageType})
        for (Integer code = -1; code <= 36; ++code)
            all = concat(all, describe(code), ",");
    EXPECT_EQ(checksumOf(all), 870432880U);
}

} // namespace
} // namespace hearthix
