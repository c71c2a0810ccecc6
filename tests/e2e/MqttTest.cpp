// A gateway that speaks MQTT: a real broker, and the program that connects the driver to it.
#include "tests/support/Conversation.hpp"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <optional>

#include <unistd.h>

namespace hearthix::test {

namespace {

using Words = std::vector<std::string>;

Words operator+(Words words, const Words& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

// The broker cannot choose a free port itself, so it is started with one that was free a moment ago.
class Broker {
public:
    Broker() {
        do
            port_ = Listener().port();
        while (!start());
    }
    ~Broker() { std::filesystem::remove_all(folder_); }

    bool start() {
        program_.emplace(
            Words{"bash", "-c",
                  "mkdir -p $0; cd $0; mosquitto_passwd -b -c users me 'two words'; echo \"user root\n"
                  "listener $1 127.0.0.1\npassword_file users\nmax_packet_size 150\" >settings; exec "
                  "mosquitto -c settings",
                  folder_, port_});
        for (int i = 0; i < 1000; ++i)
            if (run({"mosquitto_pub", "-t", "started", "-n"}).end().status == 0)
                return true;
        return false;
    }
    void stop() { program_.reset(); }

    // A program with the options that every client of the broker needs.
    Program run(const Words& words) const {
        return Program(words +
                       Words{"-h", "127.0.0.1", "-p", port_, "-u", "me", "-P", "two words", "-q", "1"});
    }
    void publish(const std::string& topic, const std::string& payload, const Words& how = {}) const {
        run(Words{"mosquitto_pub", "-t", "home/out/" + topic, "-m", payload} + how).end();
    }

    // Publishes until the driver reports a message, since nothing shows when the bridge has subscribed.
    void publishUntilHeard(FakeHost& host) const {
        for (int i = 0; i < 100 && !host.hasNews(std::chrono::milliseconds(300)); ++i)
            publish("0/255/3/0/9", "x");
        publish("0/255/3/0/9", "last");
        for (const Packet& packet : host.until(log("Gateway Message: last")))
            EXPECT_EQ(packet, log("Gateway Message: x"));
    }

private:
    const std::string folder_ = std::filesystem::temp_directory_path() / ("mqtt-" + std::to_string(getpid()));
    std::string port_;
    std::optional<Program> program_;
};

TEST(MqttGateway, WorksBehindTheBridge) {
    Broker broker;
    FakeHost host;
    const std::string port = Listener().port(); // free again
    Program bridge = broker.run({HEARTHIX_MQTT, port, "home/out/", "home/in"});
    Program wrong =
        broker.run({"bash", "-c",
                    "exec 3< <(exec \"$@\" 2>&1); grep -m 1 'no message has come for wrong/out' <&3; kill $!",
                    "", HEARTHIX_MQTT, "0", "wrong/out", "wrong/in"});
    const Words gateway{"mosquitto_sub", "-c", "-i", "gateway", "-t", "home/in/10/#"};
    broker.run(gateway + Words{"-E"}).end(); // the broker keeps messages for this client from now on
    broker.publish("255/255/3/0/3", "stale", {"-r"});

    const DriverProcess driver(
        {"socket://127.0.0.1:" + port, "127.0.0.1", host.port(), "7"},
        {"bash", "-c", "until (: >/dev/tcp/127.0.0.1/$0); do sleep 0.1; done; exec \"$@\"", port});
    host.accept();
    EXPECT_EQ(host.next(), readyText());
    broker.publishUntilHeard(host);
    for (const char* topic : {"10/3/0/0", "x/3/0/0/6", "10/3/0/0/6/9"})
        broker.publish(topic, "odd");
    for (const char* payload : {"two  words", "", "a\n1;2;3;4;5", "-n"})
        broker.publish("10/3/0/0/6", payload);
    broker.run({"bash", "-c", "printf 'a\\0b' | mosquitto_pub -s \"$@\"", "", "-t", "home/out/10/3/0/0/6"})
        .end();
    for (const std::string payload : {"two  words", "", "a 1", "-n", "a b"})
        EXPECT_EQ(host.next(), log("presentation packet from node: 0A03 (" + payload + ")"));

    host.say(rawData("10;3;1;0;47\n") + rawData("10;3;1;0;24;" + std::string(200, 'x') + "\n") +
             multipacket({{"mcmd", "SetValue"}, {"addr", "0A03.VAR1"}, {"Valu", " a;b "}}));
    host.until(log("outgoing command (10;3;1;0;24; a;b )"));
    EXPECT_EQ(broker.run(gateway + Words{"-v", "-C", "2", "-W", "300"}).end().output,
              "home/in/10/3/1/0/47 (null)\nhome/in/10/3/1/0/24  a;b \n");
    EXPECT_EQ(Program({"bash", "-c", "read <>/dev/tcp/127.0.0.1/" + port}).end().status, 1)
        << "a second driver";

    broker.stop();
    ASSERT_TRUE(broker.start());
    broker.publishUntilHeard(host);
    bridge.signal(SIGTERM);
    EXPECT_NE(bridge.end().errors.find("is too long for the broker"), std::string::npos);
    EXPECT_EQ(wrong.end().status, 0) << "reports that nothing comes";
}

} // namespace

} // namespace hearthix::test
