// A network gateway that greets the moment it is connected, behind the relay that users are told of.
#include "tests/support/DriverProcess.hpp"
#include "tests/support/FakeHost.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <thread>

namespace hearthix::test {
namespace {

// By the system's list: a connection would be passed on.
bool isListening(const std::string& port) {
    char entry[32];
    std::snprintf(entry, sizeof entry, ":%04X 00000000:0000 0A", static_cast<unsigned>(std::stoi(port)));
    std::ifstream sockets("/proc/net/tcp");
    return std::string(std::istreambuf_iterator<char>(sockets), {}).find(entry) != std::string::npos;
}

TEST(GreetingGateway, WorksBehindTheRelay) {
    FakeHost host;
    Listener gateway;
    const std::string port = Listener().port(); // free again
    const Program relay({HEARTHIX_RELAY, port, "127.0.0.1", gateway.port()});
    for (int i = 0; i < 200 && !isListening(port); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(25));
    if (!isListening(port))
        GTEST_SKIP() << "socat is not installed";
    const DriverProcess driver({"IP", "127.0.0.1", host.port(), "7", "127.0.0.1", port});
    Stream link = gateway.accept();
    link.say("0;255;3;0;14;Gateway startup complete.\n0;255;0;0;18;2.3.2\n");
    host.accept();
    EXPECT_EQ(host.until(log("Gateway Ready: Gateway startup complete.")).size(), 1U); // the ready text
    EXPECT_EQ(host.next(), log("presentation packet from node: 00FF (2.3.2)"));
    host.say(multipacket({{"mcmd", "ON"}, {"addr", "0A03.STATUS"}}));
    EXPECT_EQ(link.hearUntil("\n"), "10;3;1;0;2;1");
}

} // namespace
} // namespace hearthix::test
