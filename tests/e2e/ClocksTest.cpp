// What takes its time: the watchdog, stale bytes, a gateway that doesn't answer. Only lower limits of time
// are tested; the machine may be slow.
#include "tests/support/Conversation.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <thread>

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
    talk.host.send(commonMessage('D'));
    EXPECT_EQ(talk.host.next(), log("mySensors debug mode is now: ON"));
    EXPECT_EQ(talk.gateway.hearUntil(kVersionRequest), "");
    EXPECT_EQ(talk.host.next(), log("requesting version as ping"));
    talk.host.send(commonMessage('D'));
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

TEST(StaleData, IsThrownAwayAfterFiveSecondsOfSilence) {
    Conversation talk;
    talk.gatewaySays(""); // the last chunk was a whole line: no gap makes the next one stale
    std::this_thread::sleep_for(milliseconds(6500));
    talk.gateway.say("0;255;3;0");
    std::this_thread::sleep_for(seconds(3));
    EXPECT_EQ(talk.gatewaySays(";9;slow\n"), effects({log("Gateway Message: slow")}));
    talk.gateway.say("0;255;3;0;9;whole\n1;2;1;0");
    EXPECT_EQ(talk.host.next(), log("Gateway Message: whole"));
    std::this_thread::sleep_for(milliseconds(6500));
    EXPECT_EQ(
        talk.gatewaySays(";3;7\n"),
        effects({log("stale data in buffer. Throwing away 7 bytes:  31 3B 32 3B 31 3B 30", 4),
                 log("malformed mySensors packet: (;3;7)"), log("failed to parse Command: (;3;7)", 4)}));
}

// A gateway whose queue of connections is full leaves the driver waiting for one.
class SilentGateway : public testing::Test {
protected:
    void start() {
        driver_.emplace(
            std::vector<std::string>{"IP", "127.0.0.1", host_.port(), "7", "127.0.0.1", gateway_.port()});
        host_.accept();
        host_.send(commonMessage('D') + multipacket({{"mcmd", "ping"}}));
        EXPECT_EQ(host_.next(), log("mySensors debug mode is now: ON"));
        EXPECT_EQ(host_.next(), multi({{"mcmd", "PSrp"}}));
    }
    // A debug command may come ahead of the driver's own first steps; then they are told, all of them.
    Packet nextBehindFirstSteps() {
        Packet packet = host_.next();
        if (!readable(packet).starts_with("log 4: Hearthix connection successful after: "))
            return packet;
        EXPECT_EQ(host_.next(),
                  log("mySensors making IP connection to (127.0.0.1) port (" + gateway_.port() + ")", 4));
        EXPECT_EQ(host_.next(), log("mySensors opening IP connection, polling and waiting...", 4));
        return host_.next();
    }
    // The words, a number that is at least the one given, and " ticks."
    static void expectTicks(const Packet& packet, const std::string& words, int atLeast) {
        const std::string text = readable(packet);
        ASSERT_TRUE(text.starts_with("log 4: " + words)) << text;
        std::size_t end = 0;
        EXPECT_GE(std::stoi(text.substr(7 + words.size()), &end), atLeast);
        EXPECT_EQ(text.substr(7 + words.size() + end), " ticks.");
    }

    FakeHost host_;
    Listener gateway_{0, 0};
    Descriptor queued_ = gateway_.connect();
    std::optional<DriverProcess> driver_;
};

TEST_F(SilentGateway, IsGivenUpAfterTenSeconds) {
    start();
    expectTicks(nextBehindFirstSteps(), "mySensors Connection failed to open after ", 600);
    EXPECT_EQ(host_.untilEnd(), Packets{log("IP Open  to 127.0.0.1:" + gateway_.port() + " failed.")});
    EXPECT_EQ(driver_->end().status, 0);
}

TEST_F(SilentGateway, MayAnswerLate) {
    start();
    gateway_.accept();
    EXPECT_EQ(nextBehindFirstSteps(), log("mySensors Device connection event. ", 4));
    expectTicks(host_.next(), "mySensors Connection is open after ", 1);
    EXPECT_EQ(host_.next(), readyText());
}

TEST_F(SilentGateway, HasNoUseForCommandsYet) {
    start();
    host_.send(rawData("x"));
    const Ending ending = driver_->end();
    EXPECT_GT(ending.status, 0);
    EXPECT_TRUE(ending.output.starts_with("stack trace begin\n\n")) << ending.output;
}

} // namespace

} // namespace hearthix::test
