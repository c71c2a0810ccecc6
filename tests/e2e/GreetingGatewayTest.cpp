// A network gateway that greets the moment it is connected, behind the two ways around it that users are
// told.
#include "tests/support/DriverProcess.hpp"
#include "tests/support/FakeHost.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <thread>

#include <unistd.h>

namespace hearthix::test {
namespace {

// By the system's list: a connection would be passed on.
bool isListening(const std::string& port) {
    char entry[32];
    std::snprintf(entry, sizeof entry, ":%04X 00000000:0000 0A", static_cast<unsigned>(std::stoi(port)));
    std::ifstream sockets("/proc/net/tcp");
    return std::string(std::istreambuf_iterator<char>(sockets), {}).find(entry) != std::string::npos;
}

bool waitFor(const std::function<bool()>& condition) {
    for (int i = 0; i < 200 && !condition(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(25));
    return condition();
}

// Greets at once, and obeys: both must come through.
void expectGreetingAndCommand(FakeHost& host, Listener& gateway) {
    Stream link = gateway.accept();
    link.say("0;255;3;0;14;Gateway startup complete.\n0;255;0;0;18;2.3.2\n");
    host.accept();
    EXPECT_EQ(host.until(log("Gateway Ready: Gateway startup complete.")).size(), 1U); // the ready text
    EXPECT_EQ(host.next(), log("presentation packet from node: 00FF (2.3.2)"));
    host.say(multipacket({{"mcmd", "ON"}, {"addr", "0A03.STATUS"}}));
    EXPECT_EQ(link.hearUntil("\n"), "10;3;1;0;2;1");
}

TEST(GreetingGateway, WorksBehindTheRelay) {
    FakeHost host;
    Listener gateway;
    const std::string port = Listener().port(); // free again
    const Program relay({HEARTHIX_RELAY, port, "127.0.0.1", gateway.port()});
    if (!waitFor([&] { return isListening(port); }))
        GTEST_SKIP() << "socat is not installed";
    const DriverProcess driver({"IP", "127.0.0.1", host.port(), "7", "127.0.0.1", port});
    expectGreetingAndCommand(host, gateway);
}

TEST(GreetingGateway, WorksAsAPseudoTerminal) {
    FakeHost host;
    Listener gateway;
    const auto link = std::filesystem::temp_directory_path() / ("greeting-" + std::to_string(getpid()));
    const Program relay(
        {"socat", "PTY,link=" + link.string() + ",raw,echo=0,wait-slave", "TCP:127.0.0.1:" + gateway.port()});
    if (!waitFor([&] { return exists(link); }))
        GTEST_SKIP() << "socat is not installed";
    const DriverProcess driver({link, "127.0.0.1", host.port(), "7"});
    expectGreetingAndCommand(host, gateway);
}

} // namespace
} // namespace hearthix::test
