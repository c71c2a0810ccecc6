#include "mysensors/Vocabulary.hpp"
#include "tests/driver/Driver.hpp"

namespace hearthix {
namespace {

using mySensors::varTypeConverter;

class Message : public DriverTest {};

// Only a set message needs the table of suffixes.
TEST_F(Message, OfAnotherTypeThanSetHasNoSuffix) {
    varTypeConverter = nullptr;
    for (const char* line : {"1;2;0;0;46;x", "1;2;2;0;0;x", "1;2;3;0;9;x", "1;2;4;0;0;x"})
        EXPECT_TRUE(cMSCommand(line).good) << line;
    EXPECT_THROW(cMSCommand("1;2;1;0;0;x"), NilObjectException);
    EXPECT_THROW(cMSCommand("1;2;1;0;46;x"), NilObjectException);
}

TEST_F(Message, HasSuffixesForItsVariableTypes) {
    EXPECT_EQ(varTypeConverter->Count(), 88);
    using Case = std::pair<const char*, Integer>;
    for (const auto& [suffix, type] :
         {Case("temp", 0), Case("FAN", 21), Case("SCENE", 19), Case("WINDOW", 29), Case("IR", 33),
          Case("HEAT", 45), Case("HVACMODE", -1), Case("", -1), Case("0", -1), Case("UNKN046", -1)})
        EXPECT_EQ(mySensors::SuffixToVarType(suffix), type) << suffix;
}

TEST_F(Message, CodesHaveNames) {
    using mySensors::DescribeInteralMessageType, mySensors::DescribePresentationSubType;
    using mySensors::describeMessageType, mySensors::describeAck;
    expectRows({Row{describeMessageType(0), "presentation"}, Row{describeMessageType(4), "stream"},
                Row{describeMessageType(5), "unknown"}, Row{describeMessageType(-1), "unknown"},
                Row{describeAck(1), "ack response"}, Row{describeAck(2), "unknown"},
                Row{DescribePresentationSubType(0), "Door"}, Row{DescribePresentationSubType(35), "Moisture"},
                Row{DescribePresentationSubType(36), "Unknown 036"},
                Row{DescribePresentationSubType(-1), "Unknown -001"},
                Row{DescribeInteralMessageType(1), "requesting time"},
                Row{DescribeInteralMessageType(17), "nonce response"},
                Row{DescribeInteralMessageType(18), "unknown"},
                Row{DescribeInteralMessageType(INT64_MAX), "unknown"}});
}

} // namespace
} // namespace hearthix
