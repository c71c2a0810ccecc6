#include "gateway/NodeIds.hpp"
#include "runtime/process/ConsoleApplication.hpp"
#include "tests/driver/Driver.hpp"

#include <malloc.h>
#include <stdlib.h>
#include <time.h>

namespace hearthix {
namespace {

using test::log;

class Gateway : public DriverTest {};

// Returns the ID for a new node if these units and the units of a range of nodes exist.
Integer newId(std::initializer_list<const char*> addresses, Integer first = 0, Integer last = -1) {
    CXML units;
    const auto insert = [&](const char* name, const String& address) {
        units.InsertContainer(Ref<CXML>::make());
        units.Containers[units.Containers.Ubound()]->Name = name;
        units.Containers[units.Containers.Ubound()]->SetStringValue("ADDRESS", address);
    };
    insert("scene", "F000.TEMP"); // not a unit
    for (const char* address : addresses)
        insert("Unit", address);
    for (Integer node = first; node <= last; ++node)
        insert("unit", Globals::formatHexOfLowByte(node));
    return mySensors::chooseNodeId(units);
}

TEST(NodeIds, FollowTheHighestOneInUse) {
    EXPECT_EQ(newId({}), 1);
    EXPECT_EQ(newId({"0203.TEMP", "0103.TEMP", "0104.HUM"}), 3);
    EXPECT_EQ(newId({"0b00.temp", "ZZ00.TEMP", "A", ""}), 12);
    EXPECT_EQ(newId({"FC00.TEMP"}), 253) << "gaps stay";
    EXPECT_EQ(newId({"0100.TEMP", "FD00.TEMP"}), 254) << "no ID is left";
    EXPECT_EQ(newId({"0100.TEMP", "FE00.TEMP"}), 253) << "the highest gap";
    EXPECT_EQ(newId({"FF00.TEMP"}), 254);
    EXPECT_EQ(newId({"FF00.TEMP"}, 252, 254), 251);
    EXPECT_EQ(newId({}, 2, 254), 1);
    EXPECT_EQ(newId({}, 1, 254), 255);
    EXPECT_EQ(newId({}, 1, 255), 256);
}

TEST_F(Gateway, SendsNodesTheSecondsOfTheLocalClock) {
    setenv("TZ", "XYZ-2", 1);
    tzset();
    // UTC, and the seconds since 1970 on a clock two hours ahead
    using Case = std::pair<Integer, std::uint32_t>;
    for (const auto& [utc, seconds] :
         {Case(-7200, 0), Case(1709164799, 1709171999), Case(1711843200, 1711850400), Case(-7201, 0xFFFFFFFF),
          Case(4294967296 - 7199, 1)}) {
        stopClocks(utc);
        EXPECT_EQ(driver_->getMySensorDate(std::nullopt), seconds) << utc;
        driver_->HandleMSCommand("10;3;3;0;1;");
        EXPECT_EQ(std::exchange(gateway_->lines, ""), "10;255;3;0;1;" + std::to_string(seconds) + "\n");
        const Date date;
        stopClocks(1'000'000'000);
        EXPECT_EQ(driver_->getMySensorDate(date), seconds) << utc;
    }
}

TEST_F(Gateway, DiscardsAFragmentAfterMoreThanFiveSecondsOfSilence) {
    stopClocks(0);
    const auto arrives = [&](std::int64_t silence, const char* bytes) {
        now += silence;
        driver_->PortDataAvailable(bytes);
        return sent();
    };
    const test::Packet whole = log("Gateway Message: x");
    const test::Packet stale = log("stale data in buffer. Throwing away 7 bytes:  31 3B 32 3B 31 3B 30", 4);
    EXPECT_EQ(arrives(0, "0;255;3;0;9;x\r\n"), test::Packets{whole});
    EXPECT_EQ(arrives(60, "0;255"), test::Packets()) << "a complete line is never stale";
    EXPECT_EQ(arrives(5, ";3"), test::Packets());
    EXPECT_EQ(arrives(5, ";0;9;x\n0;255;3;0;9"), test::Packets{whole}) << "the whole line may take longer";
    EXPECT_EQ(arrives(-6 * 3600, ";x\n1;2;1;0"), test::Packets{whole}) << "the clock was set back";
    EXPECT_EQ(arrives(6, "0;255;3;0;9;x\n"), (test::Packets{stale, whole}));
}

TEST_F(Gateway, IsPingedAfterTenSecondsOfSilenceAndGivenUpAfterTwenty) {
    stopClocks(1'000);
    const auto after = [&](std::int64_t seconds) {
        now += seconds;
        ConsoleApplication::DoEvents(0);
        return std::exchange(gateway_->lines, "");
    };
    driver_->PortDataAvailable("\n");
    EXPECT_EQ(after(9), "");
    EXPECT_EQ(after(1), "0;0;3;0;2;\n");
    now += 9;
    driver_->PortDataAvailable("\n"); // any byte restarts the watchdog
    EXPECT_EQ(after(9), "");
    sent();
    driver_->PortDataAvailable("0;255;3;0;2;1\n");
    EXPECT_EQ(sent(), test::Packets()) << "the version is the answer to the ping";
    EXPECT_EQ(after(10), "0;0;3;0;2;\n");
    EXPECT_FALSE(Globals::DoQuit);
    EXPECT_EQ(after(10), "");
    EXPECT_TRUE(Globals::DoQuit);
    EXPECT_EQ(sent(), test::Packets{
                          log("timeout waiting for ping from mySensors gateway. Restarting connection...")});
}

TEST_F(Gateway, KeepsNoMemoryOfALargeChunk) {
    const auto inUse = [] { return mallinfo2().uordblks + mallinfo2().hblkhd; };
    for (const char* line :
         {"10;3;1;0;24;the first value of a type, and a long one\n", "10;3;1;0;24;a further value of it\n",
          "255;255;3;0;3;a request for an ID\n", "10;3;1;0;25;an incomplete line"}) {
        const std::size_t before = inUse();
        driver_->PortDataAvailable(String("1;2;2;0;0;" + std::string(8 << 20, 'x') + "\n" + line));
        sent();
        EXPECT_LT(inUse(), before + (1 << 20)) << line;
    }
}

} // namespace
} // namespace hearthix
