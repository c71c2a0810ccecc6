#include "Links.hpp"
#include "runtime/Clock.hpp"
#include "runtime/Timer.hpp"

#include <string>

namespace hearthix {
namespace {

constexpr clocks::Nanoseconds kMillisecond = 1'000'000;

class NotedTimer : public Timer {
public:
    std::function<void()> onAction = [] {};
    int fired = 0;
    clocks::Nanoseconds armedAt = 0;

    void arm(std::int64_t milliseconds) {
        setPeriod(milliseconds);
        armedAt = clocks::monotonic();
        setMode(kModeSingle);
    }
    void Event_Action() override {
        ++fired;
        EXPECT_EQ(Mode(), kModeOff);
        EXPECT_GE(clocks::monotonic() - armedAt, Period() * kMillisecond);
        onAction();
    }
};

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
    NotedTimer watchdog, other;
    std::string order;
    link.near->onData = [&] {
        order += 'd';
        watchdog.arm(10'000);
    };
    other.onAction = [&] { order += 't'; };
    watchdog.arm(5);
    other.arm(5);
    link.far.send("x");
    clocks::sleep(30 * kMillisecond);
    ConsoleApplication::DoEvents(0);
    EXPECT_EQ(order, "dt");
    EXPECT_EQ(watchdog.fired, 0);
}

TEST(EventLoop, SourcesMayCloseThemselvesAndOneAnother) {
    Link one, two, closing, dropped;
    one.near->onData = [&] { two.near->Close(); };
    two.near->onData = [&] { one.near->Close(); };
    closing.near->onData = [&] { closing.near->Close(); };
    int served = 0;
    dropped.near->onData = [&] {
        ++served;
        dropped.near = nullptr;
    };
    for (Link* link : {&one, &two, &closing, &dropped}) {
        link->far.send("x");
        link->far.close();
    }
    ConsoleApplication::DoEvents(20);
    EXPECT_EQ(one.near->events + two.near->events, "de"); // whichever came first
    EXPECT_EQ(closing.near->events, "d");
    EXPECT_EQ(served, 1);
}

TEST(Timer, StartsAnewWhenArmedAgainAndFiresOnce) {
    NotedTimer timer;
    for (int i = 0; i < 5; ++i) {
        timer.arm(40); // each firing checks that a whole period has passed
        ConsoleApplication::DoEvents(25);
    }
    EXPECT_TRUE(serveUntil([&] { return timer.Mode() == Timer::kModeOff; }));
    const int fired = timer.fired;
    EXPECT_GE(fired, 1);
    ConsoleApplication::DoEvents(100);
    timer.arm(5);
    timer.setMode(Timer::kModeOff);
    ConsoleApplication::DoEvents(20);
    EXPECT_EQ(timer.fired, fired);
}

TEST(Timer, MayArmAndDropTimersWhenItFires) {
    auto itself = Ref<NotedTimer>::make(), last = Ref<NotedTimer>::make();
    NotedTimer again;
    itself->onAction = [&] { itself = nullptr; };
    again.onAction = [&] {
        last = nullptr;
        if (again.fired < 3)
            again.arm(0);
    };
    for (NotedTimer* timer : {itself.get(), &again, last.get()})
        timer->arm(1);
    clocks::sleep(5 * kMillisecond);
    EXPECT_TRUE(serveUntil([&] { return again.fired == 3; }));
    EXPECT_TRUE(itself.isNil());
}

} // namespace
} // namespace hearthix
