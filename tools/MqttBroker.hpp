// The connection to an MQTT broker, by libmosquitto, served in the event loop.
#pragma once

#include "runtime/events/EventSource.hpp"
#include "sim/Alarm.hpp"

#include <functional>
#include <map>
#include <string>

#include <mosquitto.h>

namespace hearthix {

struct BrokerSettings {
    std::string host = "localhost";
    int port = 1883;
    std::string user;
    std::string password;
    std::string id;    // empty for one that the broker chooses
    int qos = -1;      // below 0 for the default
    int keepAlive = 5; // seconds
    std::string caFile;
    std::string caPath;
    std::string certificate;
    std::string key;
    bool insecure = false;
};

class MqttBroker : public EventSource {
public:
    MqttBroker();
    ~MqttBroker() override;

    // A message that was published after the subscription; retained messages are left out.
    std::function<void(const std::string& topic, const std::string& payload)> received;
    // A sentence for the user.
    std::function<void(const std::string& sentence)> noted;

    // Connects and subscribes. Returns the reason if that is impossible, and an empty string otherwise.
    // Ends the process with status 1 if the broker does not answer within ten seconds. A connection that is
    // lost later is tried again every second.
    std::string connect(const BrokerSettings& settings, const std::string& filter);
    bool isConnected() const noexcept { return connected_; }
    // A message that cannot be sent is discarded and reported.
    void publish(const std::string& topic, const std::string& payload);

private:
    int descriptor() const noexcept override { return mosquitto_socket(client_); }
    bool wantsRead() const noexcept override { return true; }
    bool wantsWrite() const noexcept override { return mosquitto_want_write(client_); }
    void serve(bool readable, bool writable) override;
    void flushOutput() override {}

    void setCallbacks();
    int applySettings(const BrokerSettings& settings);
    int attempt(const BrokerSettings& settings, int version);
    void connected(int code);
    void disconnected(int code);
    void published(int message, int code);
    std::string reason(int error) const;

    mosquitto* client_ = nullptr;
    int version_ = 0;
    int qos_ = 1;
    std::string filter_;
    bool connected_ = false;
    bool started_ = false;                      // whether connect has succeeded
    int refusal_ = 0;                           // why the broker refused the latest attempt; 0 if it did not
    std::map<int, std::string> unacknowledged_; // topics by message number
    sim::Alarm everySecond_;
};

} // namespace hearthix
