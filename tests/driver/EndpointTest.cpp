#include "endpoints/cMSEndpoint.hpp"
#include "gateway/cMySensors.hpp"
#include "gateway/cPingTimer.hpp"
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

TEST_F(EndpointTest, AsksForAUnitOfItsNode) {
    const auto node = cMSEndpoint::create(10, 255, -1);
    sent();
    node->makeSensibleDevicesFromPresentation();
    EXPECT_EQ(sent(), test::Packets());
    node->CreateHearthixUnitForNode();
    const std::string name = "mySensors node: 0A battery level";
    EXPECT_EQ(sent(), test::Packets{test::multi({{"mcmd", "NewU"},
                                                 {"Sfix", "%"},
                                                 {"Name", name},
                                                 {"Type", "Register"},
                                                 {"addr", "0AFF"},
                                                 {"Dimm", "true"},
                                                 {"RdNL", "true"},
                                                 {"List", "My Sensors"}})});
    EXPECT_EQ(node->DeviceName.view(), name);
}

TEST_F(EndpointTest, TellsNodesTheSecondsOfTheLocalClock) {
    setenv("TZ", "XYZ-2", 1);
    tzset();
    static clocks::Nanoseconds now;
    clocks::replaceWallClock([] { return now; });
    using Case = std::pair<Integer, std::uint32_t>; // UTC, and what a clock two hours ahead shows since 1970
    for (const auto& [utc, seconds] :
         {Case(-7200, 0), Case(1709164799, 1709171999), Case(1711843200, 1711850400), Case(-7201, 0xFFFFFFFF),
          Case(4294967296 - 7199, 1)}) {
        now = utc * 1'000'000'000;
        EXPECT_EQ(cMySensors().getMySensorDate(std::nullopt), seconds) << utc;
        const Date date;
        now = 1'000'000'000'000'000'000;
        EXPECT_EQ(cMySensors().getMySensorDate(date), seconds) << utc;
    }
    clocks::replaceWallClock(nullptr);
}

// Of five seconds and more, by the wall clock, which may be set as well.
TEST_F(EndpointTest, ThrowsStaleBytesAway) {
    static clocks::Nanoseconds now;
    clocks::replaceWallClock([] { return now * 1'000'000'000; });
    const auto driver = Ref<cMySensors>::make();
    const auto arrives = [&](clocks::Nanoseconds silence, const char* bytes) {
        now += silence;
        driver->PortDataAvailable(bytes);
        return sent();
    };
    const test::Packets told{test::log("Gateway Message: x")}, nothing;
    EXPECT_EQ(arrives(1'700'000'000, "0;255;3;0;9;x\n"), told);
    EXPECT_EQ(arrives(60, "0;255"), nothing); // a whole line is never stale
    EXPECT_EQ(arrives(5, ";3"), nothing);     // and a line may take as long as it likes
    EXPECT_EQ(arrives(5, ";0;9;x\n0;255;3;0;9"), told);
    EXPECT_EQ(arrives(-6 * 3600, ";x\n1;2;1;0"), told);
    EXPECT_EQ(
        arrives(6, "0;255;3;0;9;x\n"),
        (test::Packets{test::log("stale data in buffer. Throwing away 7 bytes:  31 3B 32 3B 31 3B 30", 4),
                       told[0]}));
    clocks::replaceWallClock(nullptr);
    mySensors::gPingTimer = nullptr;
}

} // namespace
} // namespace hearthix
