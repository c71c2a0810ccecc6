// Links that break at any byte, that stall, and a system that has no more files to give.
#include "tests/support/Conversation.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <thread>

#include <sys/socket.h>

namespace hearthix::test {

namespace {

const std::string kPipeError = "Hearthix Pipe Error\n\n";

// Each case waits for its own driver, so all of them may wait together. Emulators start slowly: four of them.
template <class Cases, class Check>
void allAtOnce(const Cases& cases, const Check& check) {
    std::vector<std::future<void>> running;
    for (const auto& each : cases) {
        if (isForeignDriver() && running.size() >= 4)
            running[running.size() - 4].wait();
        running.push_back(std::async(std::launch::async, [&check, &each] { check(each); }));
    }
    for (std::future<void>& each : running)
        each.get();
}

enum class How { close, halfClose, reset };

void breakOff(Stream& stream, How how) {
    how == How::close ? stream.close() : how == How::reset ? stream.reset() : stream.halfClose();
}

TEST(BrokenLink, OfTheHostEndsTheDriver) {
    const std::string ping = multipacket({{"mcmd", "ping"}});
    std::vector<std::pair<How, std::size_t>> cases{{How::close, 0}, {How::close, 9}, {How::halfClose, 0}};
    for (std::size_t bytes = 0; bytes < ping.size(); ++bytes)
        if (bytes == 0 || bytes > 4) // of fewer, the driver never lets go
            cases.emplace_back(How::reset, bytes);
    allAtOnce(cases, [&ping](const auto& each) {
        Conversation talk;
        talk.host.say(ping.substr(0, each.second));
        breakOff(talk.host, each.first);
        EXPECT_EQ(talk.gateway.hearToEnd(), "");
        const Ending ending = talk.driver.end();
        EXPECT_EQ(std::tie(ending.status, ending.output, ending.errors), std::tuple(0, kPipeError, ""))
            << each.second;
    });
}

TEST(BrokenLink, OfTheHostInTheOpeningLineEndsTheDriver) {
    const std::string opening = "MYSENSORS:7\r";
    allAtOnce(std::vector<std::size_t>{0, 1, 11, 12}, [&opening](std::size_t bytes) {
        Listener host;
        FakeGateway gateway(Transport::tcp);
        DriverProcess driver(gateway.arguments(host.port()));
        Stream link = host.accept();
        EXPECT_EQ(link.hear(bytes), opening.substr(0, bytes));
        link.reset();
        const Ending ending = driver.end();
        // Within the first milliseconds it counts as a host that never answered.
        EXPECT_EQ(std::tuple(ending.status, ending.output.substr(0, kPipeError.size())),
                  std::tuple(0, kPipeError));
    });
}

TEST(BrokenLink, OfTheGatewayIsToldAndEndsTheDriver) {
    const std::string line = "0;255;3;0;9;last words\n";
    struct Case {
        How how;
        std::size_t bytes;
        const char* code;
        Transport transport = Transport::tcp;
    };
    std::vector<Case> cases{{How::close, 0, "107"},
                            {How::close, line.size(), "107"},
                            {How::close, line.size(), "", Transport::serial}, // 5 or 107, as the system likes
                            {How::halfClose, line.size(), "107"}};
    for (std::size_t bytes = 0; bytes < line.size(); ++bytes)
        cases.push_back({How::reset, bytes, "104"});
    allAtOnce(cases, [&line](const Case& c) {
        Conversation talk(c.transport);
        talk.gateway.say(line.substr(0, c.bytes));
        if (c.transport == Transport::serial) // one that hangs up takes along what nobody has read
            talk.host.hasNews(kPatience);
        breakOff(talk.gateway, c.how);
        if (c.bytes == line.size()) {
            EXPECT_EQ(talk.host.next(), log("Gateway Message: last words"));
        }
        const std::string error = readable(talk.host.next());
        const std::string opening = "log 4: mySensors communication error: ";
        EXPECT_TRUE(error.starts_with(opening + c.code) && error.ends_with(" - ")) << error;
        EXPECT_EQ(talk.host.untilEnd(), Packets{}) << c.bytes;
        const Ending ending = talk.driver.end();
        EXPECT_EQ(std::tie(ending.status, ending.output, ending.errors), std::tuple(0, "", ""));
    });
}

// A value as large as a packet can be.
std::string largeLine(char letter) {
    return "10;3;1;0;24;" + std::string(60'000, letter);
}

// Never more than one in flight.
Packet sendLargeCommand(Conversation& talk, char letter) {
    constexpr std::string_view kSignOfLife =
        "5;255;3;0;4;\n"; // without effect; the link may be closed by now
    send(talk.gateway.descriptor(), kSignOfLife.data(), kSignOfLife.size(), MSG_NOSIGNAL);
    const std::string value(60'000, letter);
    talk.host.say(multipacket({{"mcmd", "SetValue"}, {"addr", "0A03.VAR1"}, {"Valu", value}}));
    return log(("outgoing command (" + largeLine(letter)).substr(0, 249));
}

TEST(StalledLink, OfANetworkGatewayKeepsCommandsUntilThereAreTooMany) {
    constexpr int kLate = 200;
    Conversation talk;
    talk.hostSends(multipacket({{"mcmd", "OFF"}, {"addr", "0A03.VAR1"}}));
    std::vector<std::string> expected;
    for (int i = 0; i < kLate; ++i) {
        expected.push_back(largeLine(static_cast<char>('a' + i % 26)));
        const Packet told = sendLargeCommand(talk, expected.back()[12]);
        ASSERT_EQ(talk.host.next(), told);
    }
    std::vector<std::string> heard;
    while (heard.size() < expected.size())
        heard.push_back(talk.gateway.hearUntil("\n"));
    EXPECT_TRUE(
        std::is_permutation(heard.begin(), heard.end(), expected.begin())); // one may overtake another
    const Packet failed = log("mySensors communication error: 105 - ", 4);
    Packet answer;
    for (int i = 0; i < 2000 && answer != failed; ++i) {
        const Packet told = sendLargeCommand(talk, 'z');
        answer = talk.host.next();
        ASSERT_TRUE(answer == told || answer == failed) << readable(answer);
    }
    EXPECT_EQ(answer, failed);
    EXPECT_EQ(talk.driver.end().status, 0);
}

TEST(StalledLink, OfASerialGatewayIsWaitedFor) {
    Conversation talk(Transport::serial);
    talk.hostSends(multipacket({{"mcmd", "OFF"}, {"addr", "0A03.VAR1"}}));
    sendLargeCommand(talk, 'a');
    sendLargeCommand(talk, 'a');
    std::this_thread::sleep_for(std::chrono::seconds(2));
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(talk.gateway.hearUntil("\n"), largeLine('a'));
    EXPECT_EQ(talk.hostSends("").host.size(), 2U);
}

TEST(StalledLink, OfAHostThatNeverReadsEndsTheDriver) {
    Conversation talk(Transport::tcp, {}, 4096);
    // Far more than the ceiling of 64 MiB, as the driver reads on for its last second.
    EXPECT_THROW(for (int i = 0; i < 22'000; ++i) talk.gateway.say(largeLine('x') + "\n"),
                 std::runtime_error);
    const Ending ending = talk.driver.end();
    EXPECT_EQ(std::tie(ending.status, ending.output, ending.errors), std::tuple(0, kPipeError, ""));
}

TEST(NoMoreFiles, IsAFailureToConnect) {
#if defined(__SANITIZE_ADDRESS__) || defined(HEARTHIX_COVERAGE)
    GTEST_SKIP() << "an instrumented program opens files of its own";
#endif
    if (isForeignDriver())
        GTEST_SKIP() << "an emulator opens files of its own";
    // Without those that the test's own caller left open: one for the host's link, and no more.
    const std::vector<std::string> fourFiles{
        "sh", "-c", R"(exec 3>&- 4>&- 5>&- 6>&- 7>&- 8>&- 9>&-; ulimit -n 4; exec "$0" "$@")"};
    for (const Transport transport : {Transport::tcp, Transport::serial}) {
        FakeHost host;
        FakeGateway gateway(transport);
        DriverProcess driver(gateway.arguments(host.port()), fourFiles);
        host.accept();
        const bool isSerial = transport == Transport::serial;
        const std::string unopened = "mySensors: unable to open the port named: ";
        EXPECT_EQ(host.untilEnd(), isSerial ? Packets{log(unopened + gateway.device(), 4)} : Packets{});
        const Ending ending = driver.end();
        EXPECT_EQ(ending.status, isSerial ? 0 : 1);
        EXPECT_EQ(ending.output.substr(0, 19), isSerial ? "" : "stack trace begin\n\n");
        EXPECT_EQ(ending.errors.find(isSerial ? "Too many open files" : "NilObjectException") ==
                      std::string::npos,
                  false);
    }
}

} // namespace

} // namespace hearthix::test
