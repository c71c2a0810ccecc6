// A gateway that speaks MQTT: a real broker, and the bridge that is installed with the driver.
#include "tests/support/Conversation.hpp"

#include <gtest/gtest.h>

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

// A broker's port has to be named: one that was free a moment ago, until one still is.
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
                  "listener $1 127.0.0.1\npassword_file users\" >settings; exec mosquitto -c settings",
                  folder_, port_});
        for (int i = 0; i < 1000; ++i)
            if (run({"mosquitto_pub", "-t", "started", "-n"}).end().status == 0)
                return true;
        return false;
    }
    void stop() { program_.reset(); }

    // A program, with the options that all who talk to the broker share.
    Program run(const Words& words) const {
        return Program(words +
                       Words{"-h", "127.0.0.1", "-p", port_, "-u", "me", "-P", "two words", "-q", "1"});
    }
    void publish(const std::string& topic, const std::string& payload, const Words& how = {}) const {
        run(Words{"mosquitto_pub", "-t", "home/out/" + topic, "-m", payload} + how).end();
    }

    // Again and again, as nothing tells when the bridge has subscribed; the ones too many are taken away.
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
    const Program bridge = broker.run({HEARTHIX_MQTT, port, "home/out", "home/in"});
    const Words gateway{"mosquitto_sub", "-c", "-i", "gateway", "-t", "home/in/10/#"};
    broker.run(gateway + Words{"-E"}).end(); // what is for it is kept from now on
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
    for (const std::string payload : {"two  words", "", "a 1", "-n"})
        EXPECT_EQ(host.next(), log("presentation packet from node: 0A03 (" + payload + ")"));

    host.say(multipacket({{"mcmd", "SetValue"}, {"addr", "0A03.VAR1"}, {"Valu", " a;b "}}) +
             multipacket({{"mcmd", "Qery"}, {"addr", "0A03.STATUS"}}));
    host.until(log("outgoing command (10;3;2;0;2;)"));
    EXPECT_EQ(broker.run(gateway + Words{"-v", "-C", "2", "-W", "300"}).end().output,
              "home/in/10/3/1/0/24  a;b \nhome/in/10/3/2/0/2 (null)\n");

    broker.stop();
    ASSERT_TRUE(broker.start());
    broker.publishUntilHeard(host);
}

} // namespace

} // namespace hearthix::test
