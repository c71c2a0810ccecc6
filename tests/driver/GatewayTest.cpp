#include "gateway/NodeIds.hpp"
#include "runtime/process/ConsoleApplication.hpp"
#include "tests/driver/Driver.hpp"

#include <malloc.h>
#include <stdlib.h>
#include <time.h>

namespace hearthix {
namespace {

using mySensors::AddressIndex;
using test::log;

class Gateway : public DriverTest {};

TEST_F(Gateway, DispatchesLinesByTypeAndSubtype) {
    stopClocks(86'400);
    setenv("TZ", "UTC0", 1);
    tzset();
    using Case = std::pair<const char*, const char*>;
    for (const auto& [line, want] :
         {Case("10;3;0;0;6;Outside", "log 2: presentation packet from node: 0A03 (Outside) | "),
          Case("10;3;3;0;1;", "10;255;3;0;1;86400\n"),
          Case("0;0;3;0;2;2.3", "log 2: mySensors gateway reports version: 2.3 | "),
          Case("255;254;3;0;3;", "J\\12\\00\\80mcmd\\08\\00getUnits | "),
          Case("300;3;3;0;6;", "log 2: sending config to node: 300;3;3;0;6;I | 300;3;3;0;6;I\n"),
          Case("0;255;3;0;9;x", "log 2: Gateway Message: x | "),
          Case("10;255;3;0;9;x", "log 2: Node Message: (0A) x | "),
          Case("10;255;3;0;11;x", "log 2: node (0A) sketch name: x | "),
          Case("10;255;3;0;12;x", "log 2: node (0A) sketch version: x | "),
          Case("0;255;3;0;14;x", "log 2: Gateway Ready: x | "),
          Case("10;255;3;0;14;x", "log 2: Node: (0A) x | "), Case("10;255;3;0;7;", ""),
          Case("10;3;2;0;2;", ""), Case("10;255;4;0;0;x", ""),
          Case("", "log 4: failed to parse Command: () | "),
          Case("1;2;3;4;5",
               "log 2: malformed mySensors packet: (1;2;3;4;5) | log 4: failed to parse Command: "
               "(1;2;3;4;5) | ")}) {
        driver_->HandleMSCommand(line);
        EXPECT_EQ(effects(), want) << line;
    }
    EXPECT_EQ(AddressIndex->Count(), 0);
}

TEST_F(Gateway, NamesTheLineThatEndsTheDriver) {
    try {
        driver_->HandleMSCommand("5;3;3;0;0;80");
        ADD_FAILURE() << "the battery of a child of an unknown node";
    } catch (const KeyNotFoundException& error) {
        EXPECT_TRUE(error.Message.view().starts_with("the gateway line \"5;3;3;0;0;80\" reports"));
    }
}

TEST_F(Gateway, RoutesHostCommandsByTheAddress) {
    const std::string node = "log 2: creating unit at node level for node: ",
                      child = "log 2: creating child object at Address: ";
    const std::string refused =
        "log 2: invalid address format. mySensors addresses must be 4 bytes of NodeID ChildID in hex "
        "followed by a period and the name of the variable type. Command not sent. | ";
    using Case =
        std::tuple<const char*, std::string, std::string>; // address, earlier log lines, line to the gateway
    for (const auto& [address, logged, line] :
         {Case{"0A03.STATUS", node + "0A | " + child + "0A03 | ", "10;3;1;0;2;1"},
          Case{"0a03.temp", "", "10;3;1;0;0;1"}, Case{"0A04.IR", child + "0A04 | ", "10;4;1;0;33;1"},
          Case{"0AFF.UNKN046", "", "10;255;1;0;-1;1"},
          Case{"0DFF.FAN", node + "0D | " + node + "0D | ", "13;255;1;0;21;1"},
          Case{"123.HUM", node + "12 | " + child + "1223 | ", "18;35;1;0;1;1"},
          Case{"123.HUM", child + "1223 | ", "18;35;1;0;1;1"}, Case{"0A03", refused, ""},
          Case{"0A03.TEMP.X", refused, ""}, Case{"", refused, ""}}) {
        const auto command = Ref<cHearthixCommand>::make();
        command->SetMulti("mcmd", "on");
        command->SetMulti("addr", address);
        driver_->HandleHearthixCommand(command);
        const std::string sent =
            line.empty() ? "" : "log 2: outgoing command (" + line + ") | " + line + "\n";
        EXPECT_EQ(effects(), logged + sent) << address;
    }
}

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
    using Case =
        std::pair<Integer, std::uint32_t>; // UTC, and the seconds since 1970 on a clock two hours ahead
    for (const auto& [utc, seconds] :
         {Case(-7200, 0), Case(1709164799, 1709171999), Case(1711843200, 1711850400), Case(-7201, 0xFFFFFFFF),
          Case(4294967296 - 7199, 1)}) {
        stopClocks(utc);
        EXPECT_EQ(driver_->getMySensorDate(std::nullopt), seconds) << utc;
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
