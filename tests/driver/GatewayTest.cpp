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

TEST_F(Gateway, DispatchesLinesByTypeAndSubtype) {
    setenv("TZ", "UTC0", 1);
    tzset();
    stopClocks(86'400);
    struct Case {
        const char* line;
        test::Packets host;
        const char* reply = "";
        bool debug = false;
    };
    const test::Packet getUnits = test::multi({{"mcmd", "getUnits"}});
    for (const Case& c :
         {Case{"10;3;0;0;6;Outside", {log("presentation packet from node: 0A03 (Outside)")}},
          Case{"10;3;3;0;1;", {}, "10;255;3;0;1;86400\n"},
          Case{"0;0;3;0;2;2.3", {log("mySensors gateway reports version: 2.3")}},
          Case{"255;254;3;0;3;", {getUnits}},
          Case{"300;3;3;0;6;", {log("sending config to node: 300;3;3;0;6;I")}, "300;3;3;0;6;I\n"},
          Case{"0;255;3;0;9;x", {log("Gateway Message: x")}},
          Case{"10;255;3;0;9;x", {log("Node Message: (0A) x")}},
          Case{"10;255;3;0;11;x", {log("node (0A) sketch name: x")}},
          Case{"10;255;3;0;12;x", {log("node (0A) sketch version: x")}},
          Case{"0;255;3;0;14;x", {log("Gateway Ready: x")}}, Case{"10;255;3;0;14;x", {log("Node: (0A) x")}},
          Case{"10;255;3;0;7;", {}}, Case{"10;3;2;0;2;", {}}, Case{"10;255;4;0;0;x", {}},
          Case{"", {log("failed to parse Command: ()", 4)}},
          Case{"1;2;3;4;5",
               {log("malformed mySensors packet: (1;2;3;4;5)"),
                log("failed to parse Command: (1;2;3;4;5)", 4)}}}) {
        driver_->HandleMSCommand(c.line);
        EXPECT_EQ(sent(), c.host) << c.line;
        EXPECT_EQ(std::exchange(gateway_->lines, ""), c.reply) << c.line;
    }
    Globals::DebugMode = true;
    for (const auto& [line, unhandled] : {std::pair{"10;255;3;0;7;", "unhandled command: 10;255;3;0;7;"},
                                          {"10;3;2;0;2;", "unhandled command (10;3;2;0;2;)"}}) {
        driver_->HandleMSCommand(line);
        EXPECT_EQ(sent().back(), log(unhandled));
    }
}

TEST_F(Gateway, RoutesHostCommandsByTheAddress) {
    const test::Packet badAddress =
        log("invalid address format. mySensors addresses must be 4 bytes of NodeID ChildID in hex followed "
            "by a period and the name of the variable type. Command not sent.");
    struct Case {
        const char* address;
        test::Packets created;
        const char* line;
    };
    const auto node = [](const char* name) {
        return log(std::string("creating unit at node level for node: ") + name);
    };
    const auto child = [](const char* name) {
        return log(std::string("creating child object at Address: ") + name);
    };
    for (const Case& c :
         {Case{"0A03.STATUS", {node("0A"), child("0A03")}, "10;3;1;0;2;1"},
          Case{"0a03.temp", {}, "10;3;1;0;0;1"}, Case{"0A04.IR", {child("0A04")}, "10;4;1;0;33;1"},
          Case{"0AFF.WINDOW", {}, "10;255;1;0;29;1"}, Case{"0A03.UNKN046", {}, "10;3;1;0;-1;1"},
          Case{"0DFF.FAN", {node("0D"), node("0D")}, "13;255;1;0;21;1"},
          Case{"123.HUM", {node("12"), child("1223")}, "18;35;1;0;1;1"},
          Case{"123.HUM", {child("1223")}, "18;35;1;0;1;1"}, Case{"0A03", {badAddress}, nullptr},
          Case{"0A03.TEMP.X", {badAddress}, nullptr}, Case{"", {badAddress}, nullptr}}) {
        const auto command = Ref<cHearthixCommand>::make();
        command->SetMulti("mcmd", "on");
        command->SetMulti("addr", c.address);
        driver_->HandleHearthixCommand(command);
        test::Packets host = c.created;
        if (c.line != nullptr)
            host.push_back(log(std::string("outgoing command (") + c.line + ")"));
        EXPECT_EQ(sent(), host) << c.address;
        const std::string line = c.line != nullptr ? std::string(c.line) + "\n" : "";
        EXPECT_EQ(std::exchange(gateway_->lines, ""), line) << c.address;
    }
}

TEST(NodeIds, FollowTheHighestOneInUse) {
    struct Case {
        std::vector<const char*> addresses;
        Integer firstUsed; // a range of nodes that have units too
        Integer lastUsed;
        Integer id;
    };
    for (const Case& c :
         {Case{{}, 0, -1, 1}, Case{{"0203.TEMP", "0103.TEMP", "0104.HUM"}, 0, -1, 3},
          Case{{"01FF", "FC00.TEMP"}, 0, -1, 253}, Case{{"0100.TEMP", "FD00.TEMP"}, 0, -1, 254},
          Case{{"0100.TEMP", "FE00.TEMP"}, 0, -1, 253}, Case{{}, 1, 254, 255}, Case{{}, 2, 254, 1},
          Case{{"FF00.TEMP"}, 0, -1, 254}, Case{{"FF00.TEMP"}, 252, 254, 251}, Case{{}, 1, 255, 256},
          Case{{"ZZ00.TEMP", "A", "", "lamp"}, 0, -1, 11}, Case{{"0b00.temp"}, 0, -1, 12}}) {
        CXML units;
        const auto insert = [&](const String& name, const String& address) {
            const auto unit = Ref<CXML>::make();
            unit->Name = name;
            unit->SetStringValue("ADDRESS", address);
            units.InsertContainer(unit);
        };
        insert("scene", "F000.TEMP"); // not a unit
        for (const char* address : c.addresses)
            insert("Unit", address);
        for (Integer node = c.firstUsed; node <= c.lastUsed; ++node)
            insert("unit", Globals::formatHexOfLowByte(node));
        EXPECT_EQ(mySensors::chooseNodeId(units), c.id) << c.id << " " << c.firstUsed;
    }
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
