// What takes its time: the watchdog, stale bytes, a gateway that doesn't answer. Only lower limits of time
// are tested; the machine may be slow.
#include "tests/support/Conversation.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

#include <unistd.h>

namespace hearthix::test {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using Clock = std::chrono::steady_clock;

constexpr milliseconds kAlmostTenSeconds{9900};
const std::string kVersionRequest = "0;0;3;0;2;\n";

TEST(Watchdog, AsksAfterTenSecondsAndEndsAfterTwenty) {
    Conversation talk;
    talk.gatewaySays("");
    const auto start = Clock::now();
    EXPECT_EQ(talk.gateway.hearUntil(kVersionRequest), "");
    EXPECT_GE(Clock::now() - start, kAlmostTenSeconds);
    EXPECT_FALSE(talk.host.hasNews(milliseconds(0))); // asked without a word to the host
    EXPECT_EQ(talk.gateway.hearToEnd(), "");
    EXPECT_GE(Clock::now() - start, 2 * kAlmostTenSeconds);
    EXPECT_EQ(talk.host.untilEnd(),
              Packets{log("timeout waiting for ping from mySensors gateway. Restarting connection...")});
    EXPECT_EQ(talk.driver.end().status, 0);
}

TEST(Watchdog, IsCalmedByAnyByteAndTakesOneVersionAsTheAnswer) {
    Conversation talk;
    talk.host.say(commonMessage('D'));
    EXPECT_EQ(talk.host.next(), log("mySensors debug mode is now: ON"));
    EXPECT_EQ(talk.gateway.hearUntil(kVersionRequest), "");
    EXPECT_EQ(talk.host.next(), log("requesting version as ping"));
    talk.host.say(commonMessage('D'));
    EXPECT_EQ(talk.host.next(), log("mySensors debug mode is now: OFF"));
    talk.gateway.say("0;0;"); // part of a line is a sign of life
    const auto start = Clock::now();
    EXPECT_EQ(talk.gateway.hearUntil(kVersionRequest), "");
    EXPECT_GE(Clock::now() - start, kAlmostTenSeconds);
    EXPECT_EQ(
        talk.gatewaySays("\n0;0;3;0;2;2.3.2\n0;0;3;0;2;2.3.2\n"),
        effects({log("stale data in buffer. Throwing away 4 bytes:  30 3B 30 3B", 4),
                 log("failed to parse Command: ()", 4), log("mySensors gateway reports version: 2.3.2")}));
}

TEST(Watchdog, OnASerialLineStartsWithTheFirstByte) {
    Conversation talk(Transport::serial);
    EXPECT_FALSE(talk.gateway.hasNews(seconds(11)));
    talk.gatewaySays("");
    const auto start = Clock::now();
    EXPECT_EQ(talk.gateway.hearUntil(kVersionRequest), "");
    EXPECT_GE(Clock::now() - start, kAlmostTenSeconds);
}

// The real process on a wall clock that is set by hours: a file tells libfaketime how far it is off.
TEST(WallClock, SetForwardCountsAsSilenceAndSetBackwardDoesNot) {
    const std::string library = HEARTHIX_FAKETIME;
    if (isForeignDriver() || access(library.c_str(), R_OK) != 0)
        GTEST_SKIP() << "there is no libfaketime for this driver";
    const std::string file = testing::TempDir() + "wall-clock." + std::to_string(getpid());
    const auto setClock = [&file](const char* offset) { std::ofstream(file) << offset << '\n'; };
    setClock("+0");
    Conversation talk(Transport::tcp, {"env", "LD_PRELOAD=" + library, "FAKETIME_TIMESTAMP_FILE=" + file,
                                       "FAKETIME_NO_CACHE=1", "FAKETIME_DONT_FAKE_MONOTONIC=1",
                                       "ASAN_OPTIONS=verify_asan_link_order=0"});
    const std::string half = "0;255;3;0;2;2.";
    const Packet version = log("mySensors gateway reports version: 2.3");
    const struct {
        const char* offset;
        Packets told;
    } settings[] = {
        {"-3h", {version}},
        {"+5h",
         {log("stale data in buffer. Throwing away 14 bytes:  30 3B 32 35 35 3B 33 3B 30 3B 32 3B "
              "32 2E",
              4),
          log("malformed mySensors packet: (3)"), log("failed to parse Command: (3)", 4)}}};
    for (const auto& [offset, told] : settings) {
        talk.gateway.say(half);
        for (int turn = 0; turn < 2; ++turn) { // whatever it answers the second time, it has read the half
            talk.host.say(multipacket({{"mcmd", "ping"}}));
            EXPECT_EQ(talk.host.until(multi({{"mcmd", "PSrp"}})), Packets{});
        }
        setClock(offset);
        EXPECT_EQ(talk.gatewaySays("3\n"), effects(told)) << offset;
    }
    std::remove(file.c_str());
}

// A gateway whose queue of connections is full leaves the driver waiting for one.
struct SilentGateway : testing::Test {
    void SetUp() override {
        host.accept();
        host.say(commonMessage('D') + multipacket({{"mcmd", "ping"}}));
        EXPECT_EQ(host.until(multi({{"mcmd", "PSrp"}})), Packets{log("mySensors debug mode is now: ON")});
    }
    FakeHost host;
    Listener gateway{0, 0};
    Descriptor queued = gateway.connect();
    DriverProcess driver{{"IP", "127.0.0.1", host.port(), "7", "127.0.0.1", gateway.port()}};
};

TEST_F(SilentGateway, IsGivenUpAfterTenSeconds) {
    const Packets all = host.untilEnd();
    ASSERT_GE(all.size(), 2u);
    const std::string failed = readable(all[all.size() - 2]);
    const std::string words = "log 4: mySensors Connection failed to open after ";
    ASSERT_TRUE(failed.starts_with(words) && failed.ends_with(" ticks.")) << failed;
    EXPECT_GE(std::stoi(failed.substr(words.size())), 600);
    EXPECT_EQ(all.back(), log("IP Open  to 127.0.0.1:" + gateway.port() + " failed.")); // and no ready text
    EXPECT_EQ(driver.end().status, 0);
}

TEST_F(SilentGateway, MayAnswerLate) {
    gateway.accept();
    host.until(log("mySensors Device connection event. ", 4));
    const std::string open = readable(host.next());
    EXPECT_TRUE(open.starts_with("log 4: mySensors Connection is open after ") && open.ends_with(" ticks."))
        << open;
    EXPECT_EQ(host.next(), readyText());
}

TEST_F(SilentGateway, HasNoUseForCommandsYet) {
    host.say(rawData("x"));
    const Ending ending = driver.end();
    EXPECT_GT(ending.status, 0);
    EXPECT_TRUE(ending.output.starts_with("stack trace begin\n\n")) << ending.output;
}

TEST(SilentNameServer, KeepsNobodyWaiting) {
    FakeHost host;
    DriverProcess driver({"IP", "127.0.0.1", host.port(), "7", "gateway.test", "5003"},
                         withFaults({"SILENT_RESOLVER=1", "ASAN_OPTIONS=verify_asan_link_order=0"}));
    host.accept();
    host.say(multipacket({{"mcmd", "ping"}}));
    EXPECT_EQ(host.next(), multi({{"mcmd", "PSrp"}}));
    EXPECT_EQ(host.untilEnd(), Packets{log("IP Open  to gateway.test:5003 failed.")});
    EXPECT_EQ(driver.end().status, 0);
}

} // namespace

} // namespace hearthix::test
