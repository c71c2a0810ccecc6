#include "endpoints/cMSEndpoint.hpp"
#include "gateway/cMySensors.hpp"
#include "runtime/Clock.hpp"
#include "tests/driver/Driver.hpp"

#include <optional>
#include <string>

#include <stdlib.h>
#include <time.h>

namespace hearthix {
namespace {

using mySensors::AddressIndex;

class EndpointTest : public DriverTest {};

TEST_F(EndpointTest, EntersItselfUnderItsLowBytes) {
    const auto node = cMSEndpoint::create(300, 255, -1), child = cMSEndpoint::create(300, 10, 7);
    EXPECT_TRUE(cMSEndpoint::find("2cff") == node && cMSEndpoint::find("2c0a") == child);
    const auto second = cMSEndpoint::create(44, 10, 0); // shares the address, and takes the place
    EXPECT_EQ(cMSEndpoint::find("2C0A"), second);
    EXPECT_EQ(node->subUnits->Value("2C0A").objectAs<cMSEndpoint>(), second.get());
    EXPECT_TRUE(cMSEndpoint::find("2C0B").isNil());
}

TEST_F(EndpointTest, StaysInTheIndexEvenWhenItsNodeIsMissing) {
    EXPECT_THROW(cMSEndpoint::create(1, 2, 0), KeyNotFoundException);
    const auto orphan = cMSEndpoint::find("0102");
    ASSERT_TRUE(orphan);
    orphan->batteryLevel = 7;
    EXPECT_FALSE(orphan->getBatteryLevelFromNode());
    EXPECT_EQ(orphan->batteryLevel, 7);
    cMSEndpoint::create(1, 255, 0)->batteryLevel = 80;
    EXPECT_TRUE(orphan->getBatteryLevelFromNode());
    EXPECT_EQ(orphan->batteryLevel, 80);
}

TEST_F(EndpointTest, AsksForUnits) {
    const auto node = cMSEndpoint::create(10, 255, -1), child = cMSEndpoint::create(10, 3, 0);
    sent();
    node->makeSensibleDevicesFromPresentation();
    EXPECT_EQ(sent(), test::Packets());
    node->DeviceName = "old";
    node->CreateHearthixUnitForNode();
    const std::string name = "mySensors node: 0A battery level";
    using Entry = test::Entries::value_type;
    EXPECT_EQ(sent(), (test::Packets{test::multi({Entry("mcmd", "NewU"), Entry("Sfix", "%"),
                                                  Entry("Name", name), Entry("Type", "Register"),
                                                  Entry("addr", "0AFF"), Entry("Dimm", "true"),
                                                  Entry("RdNL", "true"), Entry("List", "My Sensors")})}));
    EXPECT_EQ(node->DeviceName.view(), name);
    child->DeviceName = "Cellar";
    child->CreateHearthixUnitForVariableType(2);
    EXPECT_EQ(sent(), (test::Packets{test::multi({Entry("mcmd", "NewU"), Entry("addr", "0A03.STATUS"),
                                                  Entry("Name", "Cellar STATUS"), Entry("Dimm", "False"),
                                                  Entry("RdNL", "False"), Entry("List", "My Sensors")})}));
}

TEST_F(EndpointTest, TellsNodesTheSecondsOfTheLocalClock) {
    setenv("TZ", "XYZ-2", 1);
    tzset();
    static clocks::Nanoseconds now;
    clocks::replaceWallClock([] { return now; });
    using Case = std::pair<Integer, std::uint32_t>; // UTC, and what a clock two hours ahead shows since 1970
    for (const auto& [utc, seconds] :
         {Case(-7200, 0), Case(-7199, 1), Case(86400 - 7200, 86400), Case(1709164799, 1709171999),
          Case(1711843200, 1711850400), Case(-7201, 0xFFFFFFFF), Case(4294967296 - 7200, 0),
          Case(4294967296 - 7199, 1)}) {
        now = utc * 1'000'000'000;
        EXPECT_EQ(cMySensors().getMySensorDate(std::nullopt), seconds) << utc;
        const Date date;
        now = 1'000'000'000'000'000'000;
        EXPECT_EQ(cMySensors().getMySensorDate(date), seconds) << utc;
    }
    now = (86400 - 7200) * clocks::Nanoseconds{1'000'000'000};
    cMySensors().sendTimeToNode(12);
    EXPECT_EQ(port_->sent, "12;255;3;0;1;86400\n");
    clocks::replaceWallClock(nullptr);
    EXPECT_EQ(sent(), test::Packets());
}

} // namespace
} // namespace hearthix
