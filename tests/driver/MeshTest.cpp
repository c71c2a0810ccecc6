#include "endpoints/cMSEndpoint.hpp"
#include "gateway/cMySensors.hpp"
#include "gateway/cPingTimer.hpp"
#include "mysensors/Vocabulary.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "runtime/values/Clock.hpp"
#include "tests/driver/Driver.hpp"

#include <optional>

#include <malloc.h>
#include <stdlib.h>
#include <time.h>

namespace hearthix {
namespace {

using mySensors::AddressIndex;
using mySensors::varTypeConverter;

class EndpointTest : public DriverTest {};

TEST_F(EndpointTest, EntersItselfUnderItsLowBytes) {
    const auto node = cMSEndpoint::create(300, 255, -1), child = cMSEndpoint::create(300, 10, 7);
    EXPECT_EQ(AddressIndex->at("2cff"), node);
    EXPECT_EQ(AddressIndex->at("2c0a"), child);
    const auto second = cMSEndpoint::create(44, 10, 0); // shares the address, and takes the place
    EXPECT_EQ(AddressIndex->at("2C0A"), second);
    EXPECT_EQ(node->subUnits->Value("2C0A").objectAs<cMSEndpoint>(), second.get());
    EXPECT_TRUE(AddressIndex->at("2C0B").isNil());
    AddressIndex = nullptr;
    EXPECT_THROW(cMySensors().PortDataAvailable("1;2;1;0;0;5\n"), NilObjectException);
}

TEST_F(EndpointTest, StaysInTheIndexEvenWhenItsNodeIsMissing) {
    EXPECT_THROW(cMSEndpoint::create(1, 2, 0), KeyNotFoundException);
    const auto orphan = AddressIndex->at("0102");
    ASSERT_TRUE(orphan);
    orphan->batteryLevel = 7;
    EXPECT_FALSE(orphan->getBatteryLevelFromNode());
    EXPECT_EQ(orphan->batteryLevel, 7);
    orphan->HandleReceivedMSCommand(cMSCommand("1;2;1;0;0;5"));
    EXPECT_EQ(sent().back(), test::multi({{"addr", "0102.TEMP"}, {"mcmd", "SetValue"}, {"Valu", "5"}}));
    cMSEndpoint::create(1, 255, 0)->batteryLevel = 80;
    EXPECT_TRUE(orphan->getBatteryLevelFromNode());
    EXPECT_EQ(orphan->batteryLevel, 80);
}

TEST_F(EndpointTest, AsksForAUnitOfItsNodeAndTellsWhatItDrops) {
    const auto node = cMSEndpoint::create(10, 255, -1);
    sent();
    node->makeSensibleDevicesFromPresentation();
    EXPECT_EQ(sent(), test::Packets());
    node->CreateHearthixUnitForNode();
    const std::string name = "mySensors node: 0A battery level";
    const auto expectUnit = [&](test::Entries asked) {
        for (const auto& [key, value] : {std::pair{"Dimm", "true"}, {"RdNL", "true"}, {"List", "My Sensors"}})
            asked.emplace_back(key, value);
        EXPECT_EQ(sent(), test::Packets{test::multi(asked)});
    };
    expectUnit({{"mcmd", "NewU"}, {"Sfix", "%"}, {"Name", name}, {"Type", "Register"}, {"addr", "0AFF"}});
    EXPECT_EQ(node->DeviceName.view(), name);
    node->CreateHearthixUnitForVariableType(0);
    expectUnit({{"mcmd", "NewU"}, {"addr", "0AFF.TEMP"}, {"Name", name + " TEMP"}});
    cMSCommand message("10;255;3;0;6;x");
    message.RawCommand = "raw";
    node->HandleReceivedMSCommand(message);
    const std::string words =
        "node 0A recevied a node level internal message that wasn't a batteryLevel: raw";
    EXPECT_EQ(sent(), test::Packets{test::log(words)});
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

TEST_F(EndpointTest, KeepsNoMoreOfALargeChunkThanWhatItNeeds) {
    const auto inUse = [] { return mallinfo2().uordblks + mallinfo2().hblkhd; };
    const auto driver = Ref<cMySensors>::make();
    for (const char* line : {"10;3;1;0;24;the first value of a type, and a long one\n",
                             "255;255;3;0;3;what comes with a request for an ID\n",
                             "10;3;1;0;25;a line that has not come to its end"}) {
        const std::size_t before = inUse();
        driver->PortDataAvailable(String("1;2;2;0;0;" + std::string(8 << 20, 'x') + "\n" + line));
        sent();
        EXPECT_LT(inUse(), before + (1 << 20)) << line;
    }
    mySensors::gPingTimer = nullptr;
}

TEST_F(EndpointTest, WatchesTheGatewayForTenSecondsFromItsFirstByteOn) {
    Ref<cMySensors>::make()->PortDataAvailable("0");
    ASSERT_TRUE(mySensors::gPingTimer);
    EXPECT_EQ(mySensors::gPingTimer->Period(), 10'000);
    EXPECT_EQ(mySensors::gPingTimer->Mode(), Timer::kModeSingle);
    mySensors::gPingTimer = nullptr;
}

// The suffixes of the page on the mesh and their way back, and no others.
TEST_F(EndpointTest, KnowsTheVariableTypesOnly) {
    EXPECT_EQ(varTypeConverter->Count(), 88);
    EXPECT_EQ(mySensors::SuffixToVarType("temp"), 0);
    for (const char* unknown : {"HVACMODE", "", "0", "UNKN046"})
        EXPECT_EQ(mySensors::SuffixToVarType(unknown), -1) << unknown;
    varTypeConverter = nullptr;
    for (const Integer type : {0, 100})
        EXPECT_THROW(mySensors::varTypeToSuffix(type), NilObjectException) << type;
}

TEST(MeshCodes, HaveNames) {
    using mySensors::DescribeInteralMessageType, mySensors::DescribePresentationSubType;
    expectRows(
        {Row{mySensors::describeMessageType(-1), "unknown"}, Row{mySensors::describeAck(-1), "unknown"},
         Row{DescribePresentationSubType(-1), "Unknown -001"}, Row{DescribePresentationSubType(0), "Door"},
         Row{DescribePresentationSubType(35), "Moisture"},
         Row{DescribePresentationSubType(36), "Unknown 036"}, Row{DescribeInteralMessageType(-1), "unknown"},
         Row{DescribeInteralMessageType(0), "battery level"},
         Row{DescribeInteralMessageType(17), "nonce response"},
         Row{DescribeInteralMessageType(18), "unknown"}});
}

} // namespace
} // namespace hearthix
