#include "Links.hpp"
#include "runtime/events/Timer.hpp"
#include "runtime/values/Clock.hpp"
#include "sim/system/ChildProcess.hpp"
#include "sim/system/ConsoleInput.hpp"
#include "sim/system/ListeningSocket.hpp"

#include <algorithm>
#include <cerrno>
#include <tuple>

#include <netdb.h>

namespace hearthix {
namespace {

constexpr clocks::Nanoseconds kMillisecond = 1'000'000;

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

// A Poll right behind a read does not read again; a moment later it does.
void pollLater(TCPSocket& socket) {
    clocks::sleep(50'000);
    socket.Poll();
}

TEST(EventLoop, DoEventsTakesItsTimeAndNoMore) {
    Link link;
    for (const bool busy : {false, true}) {
        if (busy) // always one more byte to read
            link.near->onData = [&] { link.far.send("x"); };
        link.far.send("x");
        const auto start = clocks::monotonic();
        ConsoleApplication::DoEvents(10);
        EXPECT_GE(clocks::monotonic() - start, 10 * kMillisecond);
        EXPECT_LT(clocks::monotonic() - start, 2000 * kMillisecond);
    }
    EXPECT_GT(link.near->received.size(), 2U);
}

TEST(EventLoop, ServesDataAheadOfATimerThatIsOverdue) {
    Link link;
    std::string order;
    NotedTimer watchdog(order), other(order);
    link.near->onData = [&] { order += 'd', watchdog.arm(10'000); };
    watchdog.arm(5);
    other.arm(5);
    link.far.send("x");
    clocks::sleep(30 * kMillisecond);
    ConsoleApplication::DoEvents(0);
    EXPECT_EQ(order, "dt"); // of the other one
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

TEST(TCPSocket, DeliversDataAheadOfTheClose) {
    Link link;
    constexpr std::size_t kSize = 600'000;
    for (std::size_t sent = 0; sent < kSize; ConsoleApplication::DoEvents(1))
        sent += link.far.send(std::string(kSize - sent, 'x'));
    link.far.close();
    EXPECT_TRUE(waitForError(link));
    EXPECT_EQ(link.near->received.size(), kSize);
    EXPECT_EQ(link.near->LastErrorCode(), ENOTCONN);
    link.near->Write("into the void");
    pollLater(*link.near);
    EXPECT_EQ(std::count(link.near->events.begin(), link.near->events.end(), 'e'), 1);
}

TEST(TCPSocket, DeliversDataThatCameAheadOfAReset) {
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

TEST(TCPSocket, TellsAFailureOnlyWhenTheDataEventHasReturned) {
    Link link;
    link.near->onData = [&] {
        link.far.close();
        pollLater(*link.near);
        EXPECT_EQ(link.near->events, "d");
    };
    link.far.send("x");
    EXPECT_TRUE(waitForError(link));
}

TEST(TCPSocket, TellsAFailedConnectInALaterPoll) {
    ListeningSocket listener;
    EXPECT_FALSE(listener.Listen("localhost", 0) || listener.Listen("127.0.0.1", 65536));
    EXPECT_EQ(listener.LastError(), "no IPv4 address and port");
    ASSERT_TRUE(listener.Listen("127.0.0.1", 0));
    const Integer closedPort = listener.Port();
    listener.Close();
    const String noName(std::string(70, 'a')); // too long a label for any server to be asked
    using Case = std::tuple<String, Integer, bool>;
    for (const auto& [address, error, byPoll] :
         {Case("127.0.0.1", ECONNREFUSED, true), Case("localhost", ECONNREFUSED, false),
          Case("", EAI_NONAME, true), Case(noName, EAI_NONAME, false)}) {
        NotedSocket socket;
        socket.Address = address;
        socket.Port = closedPort;
        socket.Connect();
        EXPECT_EQ(socket.events, "") << address.view();
        for (int turn = 0; turn < 2000 && socket.events.empty(); ++turn)
            byPoll ? pollLater(socket) : ConsoleApplication::DoEvents(1);
        EXPECT_EQ(socket.events, "e") << address.view();
        EXPECT_EQ(socket.LastErrorCode(), error) << address.view();
    }
}

TEST(TCPSocket, BoundsTheDepthOfPollsInsideEventsAndLosesNothing) {
    constexpr int kBytes = 1000;
    for (const bool byPoll : {true, false}) {
        Link link;
        int depth = 0, deepest = 0, sent = 1;
        link.near->onData = [&] {
            deepest = std::max(deepest, ++depth);
            if (sent++ < kBytes)
                link.far.send("x");
            pollLater(*link.near);
            --depth;
        };
        link.far.send("x");
        for (int turn = 0; turn < kBytes && sent < kBytes; ++turn)
            byPoll ? pollLater(*link.near) : ConsoleApplication::DoEvents(0);
        ConsoleApplication::DoEvents(0);
        EXPECT_EQ(link.near->received, std::string(kBytes, 'x'));
        EXPECT_TRUE(deepest > 2 && deepest <= StreamDevice::kMostNested) << deepest;
    }
}

TEST(TCPSocket, ReadsLittleBehindALongEvent) {
    Link link;
    link.near->onData = [] { clocks::sleep(30 * kMillisecond); };
    link.far.send(std::string(StreamDevice::kPortion + 2 * StreamDevice::kSmallPortion, 'x'));
    ConsoleApplication::DoEvents(0);
    EXPECT_EQ(link.near->received.size(), StreamDevice::kPortion);
    ConsoleApplication::DoEvents(0);
    EXPECT_EQ(link.near->received.size(), StreamDevice::kPortion + StreamDevice::kSmallPortion);
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
    EXPECT_EQ(link.near->events, ""); // never inside Write
    ConsoleApplication::DoEvents(0);
    EXPECT_EQ(link.near->events, "e");
    EXPECT_EQ(link.near->LastErrorCode(), ENOBUFS);
}

TEST(ChildProcess, IsEndedEvenWhenItInsists) {
    const auto child = Ref<ChildProcess>::make();
    EXPECT_FALSE(child->Start("/no/such/program", {}));
    EXPECT_EQ(child->LastErrorCode(), ENOENT);
    std::string told;
    child->printed = [&](const String& line) { told.append(line.view()) += '|'; };
    child->ended = [&](int status) { told += std::to_string(status); };
    for (const bool stops : {false, true}) { // and then tells nothing more
        told.clear();
        ASSERT_TRUE(child->Start("/bin/sh", {"-c", "trap '' TERM; echo on; exec sleep 60"}));
        EXPECT_TRUE(serveUntil([&] { return told == "on|"; })) << told;
        stops ? child->Stop() : child->Kill();
        EXPECT_TRUE(serveUntil([&] { return !child->isRunning(); }));
        EXPECT_EQ(told, stops ? "on|" : "on|137");
    }
}

TEST(ConsoleInput, TellsItsEndOnce) {
    int ends[2] = {-1, -1};
    ASSERT_EQ(pipe(ends), 0);
    dup2(ends[0], STDIN_FILENO);
    std::string got;
    const auto input = Ref<ConsoleInput>::make();
    input->received = [&](std::string_view bytes) { got += bytes; };
    input->ended = [&] { got += '.'; };
    input->Open();
    ASSERT_EQ(write(ends[1], "ab", 2), 2);
    EXPECT_TRUE(serveUntil([&] { return got == "ab"; }));
    close(ends[1]);
    ConsoleApplication::DoEvents(50);
    EXPECT_EQ(got, "ab.");
    close(ends[0]);
}

} // namespace
} // namespace hearthix
