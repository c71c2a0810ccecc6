#include "mysensors/Vocabulary.hpp"
#include "runtime/values/Exceptions.hpp"
#include "tests/driver/Driver.hpp"

namespace hearthix {
namespace {

using mySensors::AddressIndex;

class Endpoint : public DriverTest {};

TEST_F(Endpoint, IsInTheIndexUnderTheLowBytesOfItsNumbers) {
    const auto node = cMSEndpoint::create(300, 255);
    const auto child = cMSEndpoint::create(300, 10, 7);
    EXPECT_EQ(AddressIndex->at("2cff"), node);
    EXPECT_EQ(AddressIndex->at("2c0a"), child);
    EXPECT_EQ(AddressIndex->at(44, 266), child);
    const auto second = cMSEndpoint::create(44, 10); // the same address
    EXPECT_EQ(AddressIndex->at("2C0A"), second);
    EXPECT_EQ(AddressIndex->at(300, 10), second);
    EXPECT_EQ(node->subUnits->Value("2C0A").objectAs<cMSEndpoint>(), second.get());
    EXPECT_TRUE(AddressIndex->at("2C0B").isNil());
    EXPECT_TRUE(AddressIndex->at(44, 11).isNil());
    EXPECT_TRUE(AddressIndex->at(45, 10).isNil());
}

TEST_F(Endpoint, StaysInTheIndexIfItsNodeIsMissing) {
    EXPECT_THROW(cMSEndpoint::create(1, 2), KeyNotFoundException);
    const auto orphan = AddressIndex->at("0102");
    ASSERT_TRUE(orphan);
    orphan->batteryLevel = 7;
    EXPECT_FALSE(orphan->getBatteryLevelFromNode());
    EXPECT_EQ(orphan->batteryLevel, 7);
    orphan->HandleReceivedMSCommand(cMSCommand("1;2;1;0;0;5"));
    EXPECT_EQ(sent().back(), test::multi({{"addr", "0102.TEMP"}, {"mcmd", "SetValue"}, {"Valu", "5"}}));
    cMSEndpoint::create(1, 255)->batteryLevel = 80;
    EXPECT_TRUE(orphan->getBatteryLevelFromNode());
    EXPECT_EQ(orphan->batteryLevel, 80);
}

TEST_F(Endpoint, RequestsAUnitForItsNode) {
    const auto node = cMSEndpoint::create(10, 255);
    sent();
    node->makeSensibleDevicesFromPresentation();
    node->CreateHearthixUnitForNode();
    node->CreateHearthixUnitForVariableType(0);
    test::Entries ofNode{{"mcmd", "NewU"}, {"Sfix", "%"}, {"Name", "mySensors node: 0A battery level"}};
    ofNode.insert(ofNode.end(), {{"Type", "Register"}, {"addr", "0AFF"}});
    test::Entries ofType{
        {"mcmd", "NewU"}, {"addr", "0AFF.TEMP"}, {"Name", "mySensors node: 0A battery level TEMP"}};
    for (test::Entries* entries : {&ofNode, &ofType})
        entries->insert(entries->end(), {{"Dimm", "true"}, {"RdNL", "true"}, {"List", "My Sensors"}});
    EXPECT_EQ(sent(), (test::Packets{test::multi(ofNode), test::multi(ofType)}));
}

TEST(Message, CodesHaveNames) {
    using mySensors::DescribeInteralMessageType, mySensors::DescribePresentationSubType;
    expectRows({Row{mySensors::describeMessageType(5), "unknown"},
                Row{mySensors::describeMessageType(-1), "unknown"},
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
