#include "mysensors/Vocabulary.hpp"
#include "runtime/text/Numbers.hpp"
#include "tests/driver/Driver.hpp"

namespace hearthix {
namespace {

using mySensors::varTypeConverter;

class Message : public DriverTest {};

String fieldsOf(const char* line) {
    const cMSCommand message{String(line)};
    EXPECT_TRUE(message.good) << line;
    return concat(Str(message.nodeID), " ", Str(message.childID), " ", Str(message.messageType), " ",
                  Str(message.ack), " ", Str(message.SubType), " (", message.PayLoad, ") ",
                  message.rootAddress, " ", message.HearthixAddressWithSubtype);
}

TEST_F(Message, IsParsedLeniently) {
    expectRows({Row{fieldsOf("10;3;1;0;0;21.5"), "10 3 1 0 0 (21.5) 0A03 0A03.TEMP"},
                Row{fieldsOf("1;2;1;1;20;a;b"), "1 2 1 1 20 (a) 0102 0102.SCENE"},
                Row{fieldsOf("1;2;1;0;-7;"), "1 2 1 0 -7 () 0102 0102.UNKN-007"},
                Row{fieldsOf(";;;;;"), "0 0 0 0 0 () 0000 "},
                Row{fieldsOf("-1.9; 300;0;x;12x;y"), "-1 300 0 0 12 (y) FF2C "}});
    cMSCommand message("1;2;3;4;5;6");
    EXPECT_FALSE(message.parseCommand("9;9;9;9;9"));
    EXPECT_EQ(message.nodeID, 1);
}

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
    for (const auto& [suffix, type] : {std::pair{"temp", 0},
                                       {"FAN", 21},
                                       {"SCENE", 19},
                                       {"WINDOW", 29},
                                       {"IR", 33},
                                       {"HEAT", 45},
                                       {"HVACMODE", -1},
                                       {"", -1},
                                       {"0", -1},
                                       {"UNKN046", -1}})
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
