#include "Links.hpp"
#include "runtime/events/Timer.hpp"

#include <algorithm>
#include <cerrno>

namespace hearthix {
namespace {

using clocks::kMillisecond;

struct NotedTimer : Timer {
    explicit NotedTimer(std::string& order) : order_(order) {}
    void arm(std::int64_t milliseconds) {
        setPeriod(milliseconds);
        setMode(kModeSingle);
    }
    void Event_Action() override { order_ += 't'; }

    std::string& order_;
};

bool waitForError(const Link& link) {
    return serveUntil([&] { return link.near->events.ends_with('e'); });
}

TEST(EventLoop, DoEventsTakesItsTimeAndNoMore) {
    const FakeClock clock;
    Link link;
    for (const bool busy : {false, true}) {
        if (busy) // always one more byte to read
            link.near->onData = [&] { link.far.send("x"); };
        link.far.send("x");
        const auto start = FakeClock::now;
        ConsoleApplication::DoEvents(30);
        EXPECT_GE(FakeClock::now - start, 30 * kMillisecond);
        EXPECT_LT(FakeClock::now - start, 50 * kMillisecond);
    }
    EXPECT_GT(link.near->received.size(), 2U);
}

TEST(EventLoop, ServesDataBeforeATimerThatIsOverdue) {
    const FakeClock clock(0);
    Link link;
    std::string order;
    NotedTimer watchdog(order), other(order);
    link.near->onData = [&] { order += 'd', watchdog.arm(10); };
    watchdog.arm(5);
    other.arm(5);
    link.far.send("x");
    FakeClock::now += 5 * kMillisecond;
    ConsoleApplication::DoEvents(0);
    EXPECT_EQ(order, "dt"); // of the other timer
}

TEST(EventLoop, SourcesMayCloseThemselvesAndOneAnother) {
    Link one, two, closing, dropped;
    int served = 0;
    one.near->onData = [&] { two.near->Close(); };
    two.near->onData = [&] { one.near->Close(); };
    closing.near->onData = [&] { closing.near->Close(); };
    dropped.near->onData = [&] { ++served, dropped.near = nullptr; };
    for (Link* link : {&one, &two, &closing, &dropped}) {
        link->far.send("x");
        link->far.close();
    }
    serveUntil([&] { return one.near->events.size() + two.near->events.size() > 1; });
    ConsoleApplication::DoEvents(20);
    EXPECT_EQ(one.near->events + two.near->events, "de"); // whichever came first
    EXPECT_EQ(closing.near->events, "d");
    EXPECT_EQ(served, 1);
}

TEST(TCPSocket, DeliversDataBeforeTheClose) {
    Link link;
    constexpr std::size_t kSize = 600'000;
    for (std::size_t sent = 0; sent < kSize; ConsoleApplication::DoEvents(1))
        sent += link.far.send(std::string(kSize - sent, 'x'));
    link.far.close();
    EXPECT_TRUE(waitForError(link));
    EXPECT_EQ(link.near->received.size(), kSize);
    EXPECT_EQ(link.near->LastErrorCode(), ENOTCONN);
    link.near->Write("into the void");
    link.near->Poll();
    EXPECT_EQ(std::count(link.near->events.begin(), link.near->events.end(), 'e'), 1);
}

TEST(TCPSocket, DeliversDataThatArrivedBeforeAReset) {
    Link link;
    link.near->Write("unread");
    link.near->Poll();
    link.far.send("last words");
    link.far.close(); // resets the connection, as there are bytes to read
    link.near->Write("more");
    EXPECT_TRUE(waitForError(link));
    EXPECT_EQ(link.near->events, "de");
    EXPECT_EQ(link.near->received, "last words");
}

TEST(TCPSocket, ReportsAFailureOnlyAfterTheDataEventHasReturned) {
    const FakeClock clock;
    Link link;
    link.near->onData = [&] {
        link.far.close();
        link.near->Poll();
        EXPECT_EQ(link.near->events, "d");
    };
    link.far.send("x");
    EXPECT_TRUE(waitForError(link));
}

TEST(TCPSocket, BoundsTheDepthOfPollsInsideEventsAndLosesNothing) {
    const FakeClock clock;
    constexpr int kBytes = 1000;
    for (const bool byPoll : {true, false}) {
        Link link;
        int depth = 0, deepest = 0, sent = 1;
        link.near->onData = [&] {
            deepest = std::max(deepest, ++depth);
            if (sent++ < kBytes)
                link.far.send("x");
            link.near->Poll();
            --depth;
        };
        link.far.send("x");
        for (int turn = 0; turn < kBytes && sent < kBytes; ++turn)
            byPoll ? link.near->Poll() : ConsoleApplication::DoEvents(0);
        ConsoleApplication::DoEvents(0);
        EXPECT_EQ(link.near->received, std::string(kBytes, 'x'));
        EXPECT_TRUE(deepest > 2 && deepest <= StreamDevice::kMostNested) << deepest;
    }
}

constexpr std::size_t kBudget = StreamDevice::kReadBudget;

TEST(TCPSocket, ReadsABacklogInOnePassOnlyWhileItsEventsAreQuick) {
    const FakeClock clock(0);
    for (const clocks::Nanoseconds duration : {StreamDevice::kServeTime - 1, StreamDevice::kServeTime}) {
        Link link;
        link.near->onData = [&] { FakeClock::now += duration; };
        link.far.send(std::string(3 * kBudget, 'x'));
        ConsoleApplication::DoEvents(0);
        EXPECT_EQ(link.near->received.size(), duration < StreamDevice::kServeTime ? 2 * kBudget : kBudget);
    }
}

// The events of another device may poll as often as they like.
TEST(TCPSocket, ReadsOneBudgetInAllPollsOfAPass) {
    const FakeClock clock;
    Link gateway, host;
    host.far.send(std::string(5 * kBudget, 'x'));
    gateway.near->onData = [&] {
        for (int i = 0; i < 5; ++i)
            host.near->Poll();
        EXPECT_EQ(host.near->received.size(), kBudget);
    };
    gateway.far.send("x");
    ConsoleApplication::DoEvents(0);
    EXPECT_EQ(gateway.near->events, "d");
}

TEST(TCPSocket, ReadsABacklogInTurnsAfterAFailedWrite) {
    const FakeClock clock;
    Link link;
    link.far.send(std::string(5 * kBudget, 'x'));
    link.far.close();
    std::size_t events = 0;
    link.near->onData = [&] {
        link.near->Write("x");
        link.near->Poll();
        EXPECT_EQ(link.near->received.size(), ++events * kBudget);
    };
    EXPECT_TRUE(waitForError(link));
    EXPECT_EQ(link.near->events, "ddddde");
}

TEST(TCPSocket, FailsWhenThePeerNeverReads) {
    Link link;
    std::size_t most = 0;
    for (int i = 0; i < 80; ++i) {
        link.near->Write(std::string(1024 * 1024, 'x'));
        most = std::max(most, link.near->unsentBytes());
    }
    EXPECT_TRUE(most <= StreamDevice::kSendCeiling && most > StreamDevice::kSendCeiling / 2) << most;
    EXPECT_EQ(link.near->unsentBytes(), 0U);
    EXPECT_EQ(link.near->events, ""); // not inside Write
    ConsoleApplication::DoEvents(0);
    EXPECT_EQ(link.near->events, "e");
    EXPECT_EQ(link.near->LastErrorCode(), ENOBUFS);
}

} // namespace
} // namespace hearthix
