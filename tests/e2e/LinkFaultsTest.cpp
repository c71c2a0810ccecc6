// Links that break at any byte, stall, are slow, can't be opened, or carry much at once.
#include "tests/support/Conversation.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <set>
#include <thread>

#include <netdb.h>
#include <sys/socket.h>

namespace hearthix::test {

namespace {

const std::string kPipeError = "Hearthix Pipe Error\n\n";

// Runs the cases in parallel, because each one waits for its own driver. Emulators start slowly, so four of
// them.
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
        if (bytes == 0 || bytes > 4) // fewer keep the driver in its loop
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
        const FakeGateway gateway(Transport::tcp);
        DriverProcess driver(gateway.arguments(host.port()));
        Stream link = host.accept();
        EXPECT_EQ(link.hear(bytes), opening.substr(0, bytes));
        link.reset();
        // A reset within the first milliseconds counts as a host that never answered.
        const Ending ending = driver.end();
        EXPECT_EQ(ending.status, 0);
        EXPECT_EQ(ending.output.substr(0, kPipeError.size()), kPipeError);
    });
}

TEST(BrokenLink, OfTheGatewayIsReportedAndEndsTheDriver) {
    const std::string line = "0;255;3;0;9;last words\n";
    struct Case {
        How how;
        std::size_t bytes;
        std::set<std::string> codes;
        Transport transport = Transport::tcp;
    };
    std::vector<Case> cases{{How::close, 0, {"107"}},
                            {How::close, line.size(), {"107"}},
                            {How::close, line.size(), {"5", "107"}, Transport::serial}, // depends on timing
                            {How::close, line.size(), {"107"}, Transport::network},
                            {How::halfClose, line.size(), {"107"}, Transport::network},
                            {How::halfClose, line.size(), {"107"}}};
    for (std::size_t bytes = 0; bytes < line.size(); ++bytes)
        for (const Transport transport : {Transport::tcp, Transport::network})
            cases.push_back({How::reset, bytes, {"104"}, transport});
    allAtOnce(cases, [&line](const Case& c) {
        Conversation talk(c.transport);
        talk.gateway.say(line.substr(0, c.bytes));
        if (c.transport == Transport::serial) // hanging up discards unread bytes
            talk.host.hasNews(kPatience);
        breakOff(talk.gateway, c.how);
        if (c.bytes == line.size()) {
            EXPECT_EQ(talk.host.next(), log("Gateway Message: last words"));
        }
        const std::string error = readable(talk.host.next());
        EXPECT_TRUE(c.codes.contains(between(error, "log 4: mySensors communication error: ", " - ")))
            << error;
        EXPECT_EQ(talk.host.untilEnd(), Packets{}) << c.bytes;
        const Ending ending = talk.driver.end();
        EXPECT_EQ(std::tie(ending.status, ending.output, ending.errors), std::tuple(0, "", ""));
    });
}

// A value that fills a packet.
std::string largeLine(char letter) {
    return "10;3;1;0;24;" + std::string(60'000, letter);
}

// A line without effect, which keeps the watchdog calm.
constexpr std::string_view kSignOfLife = "5;255;3;0;4;\n";

// At most one command is in flight. The link may be closed by now.
Packet sendLargeCommand(Conversation& talk, char letter) {
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
        const Packet logged = sendLargeCommand(talk, expected.back()[12]);
        ASSERT_EQ(talk.host.next(), logged);
    }
    std::vector<std::string> heard;
    while (heard.size() < expected.size())
        heard.push_back(talk.gateway.hearUntil("\n"));
    EXPECT_TRUE(std::is_permutation(heard.begin(), heard.end(), expected.begin())); // in any order
    const Packet failed = log("mySensors communication error: 105 - ", 4);
    Packet answer;
    for (int i = 0; i < 2000 && answer != failed; ++i) {
        const Packet logged = sendLargeCommand(talk, 'z');
        answer = talk.host.next();
        ASSERT_EQ(answer, answer == failed ? failed : logged);
    }
    EXPECT_EQ(answer, failed);
    EXPECT_EQ(talk.driver.end().status, 0);
}

TEST(SerialLine, ThatCannotBeOpenedEndsTheDriver) {
    const Conversation owner(Transport::serial);
    const Listener full{0, 0};
    const Descriptor queued = full.connect();
    using Case = std::tuple<std::string, std::string, std::string>; // device, what fails, reason
    const std::vector<Case> cases{
        {"no such port", "find a serial", "no serial port is named no such port; "},
        {"/dev/null", "find a serial", "no serial port is named /dev/null; "},
        {"socket://127.0.0.1", "find a serial", "no serial port is named socket://127.0.0.1; "},
        {owner.gateway.device(), "open the", "another program is using the device"},
        {"socket://127.0.0.1:" + Listener().port(), "open the", "Connection refused; "},
        {"socket://" + std::string(70, 'x') + ":5003", "open the", gai_strerror(EAI_NONAME)},
        {"socket://gateway.test:5003", "open the", "Connection timed out; "},
        {"socket://127.0.0.1:" + full.port(), "open the", "Connection timed out; "}};
    allAtOnce(cases, [](const Case& c) {
        const auto& [device, what, reason] = c;
        FakeHost host;
        DriverProcess driver({device, "127.0.0.1", host.port(), "7"},
                             withFaults({"SILENT_RESOLVER=gateway.test"}));
        host.accept();
        const std::string words = "mySensors: unable to " + what + " port named: " + device;
        EXPECT_EQ(host.untilEnd(), Packets{log(words, 4)}); // and no ready text
        const Ending ending = driver.end();
        EXPECT_EQ(std::tie(ending.status, ending.output), std::tuple(0, "")) << device;
        EXPECT_NE(ending.errors.find(reason), std::string::npos) << ending.errors;
    });
}

// The listener answers only after the test has made space in its queue.
TEST(SerialLine, IsOpenedWhileTheHostIsServed) {
    Listener full{0, 0};
    const Descriptor queued = full.connect();
    FakeHost host;
    const std::string device = "socket://127.0.0.1:" + full.port();
    const DriverProcess driver({device, "127.0.0.1", host.port(), "7"});
    host.accept();
    host.say(commonMessage('D'));
    host.until(log("mySensors making local serial connection to port named (" + device + ")", 4));
    std::this_thread::sleep_for(std::chrono::milliseconds(100)); // now it is being opened
    const std::string ping = multipacket({{"mcmd", "ping"}});
    host.say(ping + rawData("first\n") + multipacket({{"mcmd", "OFF"}, {"addr", "0A03.VAR1"}}) +
             multipacket({{"mcmd", "debug"}}) + ping);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(host.next(), multi({{"mcmd", "PSrp"}}));
    full.accept();
    Stream gateway = full.accept();
    host.until(readyText());
    host.until(log("outgoing command (10;3;1;0;24;0)"));
    EXPECT_EQ(host.next(), log("MySensors plugin debug mode is now off'"));
    EXPECT_EQ(gateway.hearUntil(";0\n"), "first\n10;3;1;0;24");
}

TEST(SerialLine, MayGreetBeforeTheHostAnswers) {
    FakeHost host;
    FakeGateway gateway(Transport::network);
    const DriverProcess driver(gateway.arguments(host.port()));
    gateway.accept();
    gateway.say("0;255;3;0;14;up\n");
    host.accept();
    EXPECT_EQ(host.next(), readyText());
    EXPECT_EQ(host.next(), log("Gateway Ready: up"));
}

// The driver is stopped while its peers write, so it finds everything at once.
TEST(SlowLine, DelaysARequestAndTheEndByFewCommands) {
    Conversation talk(Transport::serial, withFaults({"SLOW_LINE=1"}));
    const std::string command = multipacket({{"mcmd", "ON"}, {"addr", "0A03.VAR1"}});
    std::string commands;
    for (int i = 0; i < 1000; ++i)
        commands += command;
    const auto write = [&](const std::string& toDriver, const std::string& line) {
        talk.driver.signal(SIGSTOP);
        talk.host.say(toDriver);
        talk.gateway.say(line);
        talk.driver.signal(SIGCONT);
    };
    const auto countCommands = [](const std::string& lines) { return std::ranges::count(lines, '\n'); };
    write(commands, "12;255;3;0;6;\n");
    const auto early = countCommands(talk.gateway.hearUntil("12;255;3;0;6;I\n"));
    EXPECT_LT(early, 80);
    EXPECT_EQ(early + countCommands(talk.hostSends("").gateway), 1000); // the driver waits for the line
    write(multipacket({{"mcmd", "close"}}) + commands, "");
    talk.host.until(log("MySensors Plugin shutting down..."));
    EXPECT_LT(countCommands(talk.gateway.hearToEnd()), 300); // 200 ms of the loop, at 1.5 ms each
    EXPECT_EQ(talk.driver.end().status, 0);
}

constexpr int kMany = 100'000;

TEST(Load, AHostThatReadsLateMissesNothing) {
    Conversation talk(Transport::tcp, {}, 4096);
    talk.gatewaySays("10;3;1;0;0;first\n");
    std::string lines;
    for (int i = 0; i < kMany; ++i)
        lines += "10;3;1;0;0;" + std::to_string(i) + "\n";
    [[maybe_unused]] const std::size_t before = talk.driver.residentBytes();
    for (int turn = 0; turn < 2; ++turn) {
        talk.gateway.say(lines + "12;255;3;0;6;\n");
        EXPECT_EQ(talk.gateway.hearUntil("\n"), "12;255;3;0;6;I"); // the gateway is served meanwhile
        for (int i = 0; i < kMany; ++i) {
            ASSERT_EQ(talk.host.next(), setValue("0A03.TEMP", std::to_string(i)));
            if (i % 1000 == 0)
                talk.gateway.say(kSignOfLife);
        }
        EXPECT_EQ(talk.host.next(), log("sending config to node: 12;255;3;0;6;I"));
    }
    EXPECT_EQ(talk.gatewaySays("").host, Packets{});
#ifndef HEARTHIX_SANITIZED
    // The memory of the backlog, some 7 MiB, is released.
    EXPECT_LT(talk.driver.residentBytes(), isForeignDriver() ? SIZE_MAX : before + (std::size_t{3} << 20));
#endif
}

// Runs with the default stack size. The commands in flight fit into the buffers of the sockets.
TEST(Load, AMillionCommandsOneWriteEach) {
#ifdef HEARTHIX_SANITIZED
    constexpr int kCommands = 20'000;
#else
    const int kCommands = isForeignDriver() ? 20'000 : 1'000'000;
#endif
    constexpr int kInFlight = 2000;
    Conversation talk(Transport::tcp, {"prlimit", "--stack=8388608"});
    talk.hostSends(multipacket({{"mcmd", "OFF"}, {"addr", "0A03.TEMP"}}));
    for (int i = 0; i < kCommands + kInFlight; ++i) {
        if (i % 10'000 == 0)
            talk.gateway.say(kSignOfLife);
        if (i < kCommands)
            talk.host.say(
                multipacket({{"mcmd", "SetValue"}, {"addr", "0A03.TEMP"}, {"Valu", std::to_string(i)}}));
        if (i < kInFlight)
            continue;
        const std::string value = std::to_string(i - kInFlight);
        ASSERT_EQ(talk.host.next(), log("outgoing command (10;3;1;0;0;" + value + ")"));
    }
    // A command that arrives while another one is logged reaches the gateway first.
    std::vector<bool> missing(static_cast<std::size_t>(kCommands), true);
    for (int i = 0; i < kCommands; ++i) {
        const auto number = static_cast<std::size_t>(std::stoi(talk.gateway.hearUntil("\n").substr(11)));
        ASSERT_TRUE(missing.at(number));
        missing[number] = false;
    }
    EXPECT_EQ(talk.hostSends(""), Effects{});
}

// The stream waits in the system's buffers. The gateway and the end of the process do not wait for it.
TEST(Load, AnEndlessStreamOfCommandsDelaysNothingElse) {
    const std::string command =
        multipacket({{"mcmd", "SetValue"}, {"addr", "0A03.VAR1"}, {"Valu", "a value"}});
    for (const Transport transport : {Transport::tcp, Transport::serial}) {
        Conversation talk(transport);
        talk.hostSends(multipacket({{"mcmd", "OFF"}, {"addr", "0A03.VAR1"}}));
        std::string stream;
        for (int i = 0; i < 1000; ++i)
            stream += command;
        const std::string close = multipacket({{"mcmd", "close"}});
        std::jthread host([&](const std::stop_token& over) { // until the driver has ended
            EXPECT_THROW(for (;;) talk.host.say(over.stop_requested() ? close + stream : stream),
                         std::runtime_error);
        });
        const std::jthread slowGateway([&](const std::stop_token& over) {
            while (!over.stop_requested()) {
                char bytes[1000];
                [[maybe_unused]] ssize_t count = read(talk.gateway.descriptor(), bytes, sizeof bytes);
                count = send(talk.gateway.descriptor(), kSignOfLife.data(), kSignOfLife.size(), MSG_NOSIGNAL);
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
        for (int i = 0; i < 5'000; ++i)
            talk.host.next();
        talk.gateway.say("0;255;3;0;9;heard\n");
        talk.host.until(log("Gateway Message: heard"));
#ifndef HEARTHIX_SANITIZED
        EXPECT_LT(talk.driver.residentBytes(), (isForeignDriver() ? 400U : 40U) << 20);
#endif
        host.request_stop();
        talk.host.untilEnd();
        EXPECT_EQ(talk.driver.end().status, 0);
    }
}

} // namespace

} // namespace hearthix::test
