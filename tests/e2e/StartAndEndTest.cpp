// How the process begins, and all the ways in which it ends in good order.
#include "tests/support/Conversation.hpp"

#include <gtest/gtest.h>

#include <csignal>
#include <tuple>

namespace hearthix::test {

namespace {

// Too long for a name, so that no server is asked.
const std::string kNoSuchName(70, 'x');

TEST(Start, OneArgumentPrintsTheBannerOnly) {
    const Ending ending = DriverProcess({"IP"}).end();
    EXPECT_EQ(ending.status, 0);
    EXPECT_EQ(ending.output, "Hearthix mySensors Driver\r\nwritten by the Hearthix mySensors maintainers\r\n"
                             "version 1.1 (build 004)\r\n");
}

TEST(Start, MissingArgumentsEndInTheStackDump) {
    FakeHost host;
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{}, {"IP", "127.0.0.1"}, {"IP", "127.0.0.1", host.port()}}) {
        const Ending ending = DriverProcess(arguments).end();
        EXPECT_GT(ending.status, 0) << arguments.size();
        EXPECT_TRUE(ending.output.starts_with("stack trace begin\n\n")) << ending.output;
    }
}

TEST(Start, ArgumentsAreReadLeniently) {
    struct Case {
        std::string transport, address, portSuffix, id;
        std::vector<std::string> extra;
    };
    for (const Case& c : {Case{"IP", "127.0.0.1", "", "42", {}}, Case{"ip", "", ".9", "", {}},
                          Case{"Ip", "localhost", "junk", "a b:c", {"x", "", "1.2.3.4"}}}) {
        FakeHost host;
        FakeGateway gateway(Transport::tcp);
        std::vector<std::string> arguments{c.transport, c.address, host.port() + c.portSuffix, c.id};
        arguments.insert(arguments.end(), c.extra.begin(), c.extra.end());
        arguments.insert(arguments.end(), {"127.0.0.1", " " + gateway.port() + c.portSuffix});
        const DriverProcess driver(arguments);
        EXPECT_EQ(host.accept(), c.id);
        gateway.accept();
        EXPECT_EQ(host.next(), readyText());
    }
}

TEST(Start, GivesUpOnAHostThatCannotBeReachedAfterFifteenSeconds) {
    FakeHost host;
    const std::string port = host.port();
    host.stopListening();
    const auto start = std::chrono::steady_clock::now();
    DriverProcess refused({"IP", "127.0.0.1", port, "7", "127.0.0.1", "1"});
    DriverProcess unknown({"IP", kNoSuchName, port, "7", "127.0.0.1", "1"});
    DriverProcess unanswered({"IP", "host.test", port, "7", "127.0.0.1", "1"},
                             withFaults({"SILENT_RESOLVER=1", "ASAN_OPTIONS=verify_asan_link_order=0"}));
    for (DriverProcess* driver : {&refused, &unknown, &unanswered}) {
        const Ending ending = driver->end();
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(15));
        EXPECT_EQ(ending.status, 0);
        EXPECT_EQ(ending.output, std::string(driver == &unanswered ? "" : "Hearthix Pipe Error\n\n") +
                                     "mySensors: Timeout waiting for answer from Hearthix\r\n");
    }
}

TEST(End, FollowsTheHostsWord) {
    struct Case {
        std::string packet;
        const char* words;
    };
    // Q, and q with it, is the low-battery form of P and is read as that.
    for (const Case& c : {Case{commonMessage('q'), "The drugre has been asked to quit. (2)"},
                          Case{commonMessage('Q'), "The drugre has been asked to quit. (2)"},
                          Case{commonMessage('p', 255, 'Y'), "The drugre has been asked to quit. (2)"},
                          Case{multipacket({{"mcmd", "CLOSE"}}), "MySensors Plugin shutting down..."}}) {
        Conversation talk;
        talk.host.say(c.packet);
        EXPECT_EQ(talk.host.next(), log(c.words));
        EXPECT_EQ(talk.gateway.hearToEnd(), "");
        const auto closed = std::chrono::steady_clock::now();
        talk.host.say(multipacket({{"mcmd", "ping"}})); // events still run for a second
        EXPECT_EQ(talk.host.untilEnd(), Packets{multi({{"mcmd", "PSrp"}})});
        EXPECT_GE(std::chrono::steady_clock::now() - closed, std::chrono::milliseconds(900));
        const Ending ending = talk.driver.end();
        EXPECT_EQ(std::tie(ending.status, ending.output, ending.errors), std::tuple(0, "", ""));
    }
}

TEST(End, SignalsKeepTheirDefaultAction) {
    for (const int number : {SIGTERM, SIGINT}) {
        Conversation talk;
        talk.driver.signal(number);
        EXPECT_EQ(talk.driver.end().status, -number);
    }
}

TEST(End, ALostStandardOutputHarmsNothing) {
    for (const std::string redirection : {"<&- >&-", ">/dev/full", "> >(exec true)"}) {
        Conversation talk(Transport::tcp, {"bash", "-c", "exec \"$@\" " + redirection, "bash"});
        talk.host.say("L\x06\x02hey");
        EXPECT_EQ(talk.gateway.hearToEnd(), ""); // the stack dump went nowhere else
        EXPECT_EQ(talk.host.untilEnd(), Packets{});
        EXPECT_GT(talk.driver.end().status, 0);
    }
}

} // namespace

} // namespace hearthix::test
