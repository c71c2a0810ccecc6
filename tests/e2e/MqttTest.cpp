// A gateway that speaks MQTT: a real broker, and the bridge that is installed with the driver.
#include "tests/support/Conversation.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>

#include <unistd.h>

namespace hearthix::test {

namespace {

using Words = std::vector<std::string>;

class Broker {
public:
    // A broker's port has to be named: one that was free a moment ago, until one still is.
    Broker() {
        create_directory(folder_);
        Program({"mosquitto_passwd", "-b", "-c", folder_ / "users", "me", "two words"}).end();
        do
            port = Listener().port();
        while (!start());
    }
    ~Broker() { remove_all(folder_); }

    bool start() {
        std::ofstream(folder_ / "settings") << "user root\nlistener " << port << " 127.0.0.1\npassword_file "
                                            << (folder_ / "users").string() << "\n";
        broker_ = std::make_unique<Program>(Words{"mosquitto", "-c", folder_ / "settings"});
        for (int i = 0; i < 100; ++i)
            if (ask("pub", {"-t", "started", "-n"}).status == 0)
                return true;
        return false;
    }
    void stop() { broker_ = nullptr; }

    Words options() const {
        return {"-h", "127.0.0.1", "-p", port, "-u", "me", "-P", "two words", "-q", "1"};
    }
    // What the broker's client programs do; sub or pub.
    Ending ask(const std::string& client, const Words& arguments) const {
        Words words{"mosquitto_" + client};
        for (const Words& more : {options(), arguments})
            words.insert(words.end(), more.begin(), more.end());
        return Program(words).end();
    }
    void publish(const std::string& topic, const std::string& payload) const {
        ask("pub", {"-t", topic, "-m", payload});
    }

    std::string port;

private:
    std::filesystem::path folder_ =
        std::filesystem::temp_directory_path() / ("mqtt-" + std::to_string(getpid()));
    std::unique_ptr<Program> broker_;
};

// Again and again, as nothing tells when the bridge has subscribed; the ones too many are taken away.
void publishUntilHeard(const Broker& broker, FakeHost& host, const std::string& text) {
    for (int i = 0; i < 100 && !host.hasNews(std::chrono::milliseconds(300)); ++i)
        broker.publish("home/out/0/255/3/0/9", text);
    broker.publish("home/out/0/255/3/0/9", text + "!");
    for (const Packet& packet : host.until(log("Gateway Message: " + text + "!")))
        EXPECT_EQ(packet, log("Gateway Message: " + text));
}

TEST(MqttGateway, WorksBehindTheBridge) {
    Broker broker;
    const std::string port = Listener().port(); // free again
    Words bridge{HEARTHIX_MQTT, port, "home/out", "home/in"};
    for (const std::string& option : broker.options())
        bridge.push_back(option);
    const Program script(bridge);
    Words gateway{"-c", "-i", "gateway", "-t", "home/in/10/#", "-E"};
    EXPECT_EQ(broker.ask("sub", gateway).status, 0); // its messages are kept from now on
    broker.ask("pub", {"-r", "-t", "home/out/255/255/3/0/3", "-m", "stale"});

    FakeHost host;
    const std::string untilItListens = "until (: > /dev/tcp/127.0.0.1/" + port + "); do sleep 0.1; done; ";
    const DriverProcess driver({"socket://127.0.0.1:" + port, "127.0.0.1", host.port(), "7"},
                               {"bash", "-c", untilItListens + "exec \"$@\"", "bash"});
    host.accept();
    EXPECT_EQ(host.next(), readyText());
    publishUntilHeard(broker, host, "up");

    for (const auto& [topic, payload] : {std::pair("10/3/0/0/6", "two  words"),
                                         {"10/3/1/0", "short"},
                                         {"x/3/1/0/0", "odd"},
                                         {"10/3/1/0/0/9", "long"},
                                         {"10/3/0/0/6", ""},
                                         {"10/3/0/0/6", "a\n1;2;3;4;5"},
                                         {"10/3/0/0/6", "-n"}})
        broker.publish("home/out/" + std::string(topic), payload);
    for (const std::string payload : {"two  words", "", "a 1", "-n"})
        EXPECT_EQ(host.next(), log("presentation packet from node: 0A03 (" + payload + ")"));

    host.say(multipacket({{"mcmd", "SetValue"}, {"addr", "0A03.VAR1"}, {"Valu", " a;b "}}) +
             multipacket({{"mcmd", "Qery"}, {"addr", "0A03.STATUS"}}));
    gateway.back() = "-v";
    gateway.insert(gateway.end(), {"-C", "2", "-W", "30"});
    EXPECT_EQ(broker.ask("sub", gateway).output, "home/in/10/3/1/0/24  a;b \nhome/in/10/3/2/0/2 (null)\n");
    host.until(log("outgoing command (10;3;2;0;2;)"));

    broker.stop();
    ASSERT_TRUE(broker.start());
    publishUntilHeard(broker, host, "back");
}

} // namespace

} // namespace hearthix::test
