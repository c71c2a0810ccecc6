#include "tools/MqttBroker.hpp"

#include "runtime/events/EventLoop.hpp"
#include "runtime/process/Console.hpp"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <mqtt_protocol.h>
#include <unistd.h>

namespace hearthix {

namespace {

constexpr unsigned kConnectSeconds = 10;
constexpr std::size_t kMostUnacknowledged = 10'000;
constexpr int kFirstFailure = 128; // of the codes in MQTT 5

const char* orNull(const std::string& text) {
    return text.empty() ? nullptr : text.c_str();
}

void endWithoutAnswer(int) {
    writeAll(STDERR_FILENO, "hearthix-gateway-mqtt: the broker does not answer; check -h and -p\n");
    _exit(EXIT_FAILURE);
}

MqttBroker& self(void* object) {
    return *static_cast<MqttBroker*>(object);
}

} // namespace

MqttBroker::MqttBroker() {
    mosquitto_lib_init();
    everySecond_.action = [this] {
        if (mosquitto_loop(client_, 0, 1) == MOSQ_ERR_NO_CONN)
            mosquitto_reconnect(client_);
        everySecond_.setSeconds(1);
    };
}

MqttBroker::~MqttBroker() {
    EventLoop::instance().remove(*this);
    mosquitto_destroy(client_);
}

void MqttBroker::serve(bool, bool) {
    mosquitto_loop(client_, 0, 1);
}

void MqttBroker::setCallbacks() {
    mosquitto_connect_callback_set(client_,
                                   [](auto*, void* object, int code) { self(object).connected(code); });
    mosquitto_disconnect_callback_set(client_,
                                      [](auto*, void* object, int code) { self(object).disconnected(code); });
    mosquitto_publish_v5_callback_set(client_, [](auto*, void* object, int message, int code, const auto*) {
        self(object).published(message, code);
    });
    mosquitto_subscribe_callback_set(client_, [](auto*, void* object, int, int, const int* granted) {
        if (*granted >= kFirstFailure)
            self(object).noted("the broker does not let this user subscribe to " + self(object).filter_);
    });
    mosquitto_message_callback_set(client_, [](auto*, void* object, const mosquitto_message* message) {
        const auto length = static_cast<std::size_t>(message->payloadlen);
        if (!message->retain)
            self(object).received(message->topic,
                                  length > 0 ? std::string(static_cast<const char*>(message->payload), length)
                                             : std::string());
    });
}

int MqttBroker::applySettings(const BrokerSettings& settings) {
    client_ = mosquitto_new(orNull(settings.id), true, this);
    if (client_ == nullptr)
        return MOSQ_ERR_INVAL;
    setCallbacks();
    int error = mosquitto_username_pw_set(client_, orNull(settings.user), orNull(settings.password));
    if (error == MOSQ_ERR_SUCCESS && !(settings.caFile + settings.caPath).empty())
        error = mosquitto_tls_set(client_, orNull(settings.caFile), orNull(settings.caPath),
                                  orNull(settings.certificate), orNull(settings.key), nullptr);
    if (error == MOSQ_ERR_SUCCESS && settings.insecure)
        error = mosquitto_tls_insecure_set(client_, true);
    return error;
}

// MQTT 5 reports why a message was refused. A broker that knows only MQTT 3.1.1 refuses it, or hangs up.
std::string MqttBroker::connect(const BrokerSettings& settings, const std::string& filter) {
    filter_ = filter;
    if (const int error = applySettings(settings); error != MOSQ_ERR_SUCCESS)
        return reason(error) + "; check -i, -u, -P, --cafile, --cert and --key";
    static_cast<void>(std::signal(SIGALRM, endWithoutAnswer));
    alarm(kConnectSeconds);
    int error = attempt(settings, MQTT_PROTOCOL_V5);
    if (error == MOSQ_ERR_CONN_LOST || refusal_ == MQTT_RC_UNSUPPORTED_PROTOCOL_VERSION ||
        refusal_ == CONNACK_REFUSED_PROTOCOL_VERSION)
        error = attempt(settings, MQTT_PROTOCOL_V311);
    alarm(0);
    if (!connected_)
        return "the broker at " + settings.host + ":" + std::to_string(settings.port) +
               " cannot be reached or refuses (" + reason(error) + "); check -h, -p, -u and -P";
    started_ = true;
    EventLoop::instance().add(*this);
    everySecond_.setSeconds(1);
    return {};
}

// Returns when the broker has accepted or refused the connection, or it has failed.
int MqttBroker::attempt(const BrokerSettings& settings, int version) {
    version_ = version;
    qos_ = settings.qos >= 0 ? settings.qos : version == MQTT_PROTOCOL_V5 ? 1 : 0;
    refusal_ = 0;
    mosquitto_int_option(client_, MOSQ_OPT_PROTOCOL_VERSION, version);
    int error = mosquitto_connect(client_, settings.host.c_str(), settings.port, settings.keepAlive);
    while (error == MOSQ_ERR_SUCCESS && !connected_ && refusal_ == 0)
        error = mosquitto_loop(client_, -1, 1);
    return error;
}

void MqttBroker::connected(int code) {
    const bool isRepeated = std::exchange(refusal_, code) == code;
    connected_ = code == 0;
    if (connected_)
        mosquitto_subscribe(client_, nullptr, filter_.c_str(), qos_);
    if (started_ && connected_)
        noted("connected to the broker again");
    else if (started_ && !isRepeated)
        noted("the broker refuses the connection: " + reason(code));
}

void MqttBroker::disconnected(int code) {
    if (std::exchange(connected_, false))
        noted("the connection to the broker was lost (" + reason(code) +
              "); it is tried again every second, and commands are lost until then");
}

std::string MqttBroker::reason(int error) const {
    if (refusal_ != 0)
        return version_ == MQTT_PROTOCOL_V5 ? mosquitto_reason_string(refusal_)
                                            : mosquitto_connack_string(refusal_);
    if (error == MOSQ_ERR_KEEPALIVE)
        return "it does not answer";
    return error == MOSQ_ERR_ERRNO ? std::strerror(errno) : mosquitto_strerror(error);
}

void MqttBroker::publish(const std::string& topic, const std::string& payload) {
    int message = 0;
    std::string loss;
    if (!connected_)
        loss = "there is no connection to the broker";
    else if (unacknowledged_.size() >= kMostUnacknowledged)
        loss = "the broker acknowledges no commands";
    else if (const int error =
                 mosquitto_publish(client_, &message, topic.c_str(), static_cast<int>(payload.size()),
                                   payload.data(), qos_, false);
             error == MOSQ_ERR_OVERSIZE_PACKET || error == MOSQ_ERR_PAYLOAD_SIZE)
        loss = "it is too long for the broker";
    else if (error != MOSQ_ERR_SUCCESS)
        loss = reason(error);
    if (loss.empty())
        unacknowledged_[message] = topic;
    else
        noted("the command for " + topic + ", of " + std::to_string(payload.size()) +
              " bytes, is lost: " + loss);
}

void MqttBroker::published(int message, int code) {
    if (code >= kFirstFailure)
        noted("the broker refuses the command for " + unacknowledged_[message] + ": " +
              mosquitto_reason_string(code));
    unacknowledged_.erase(message);
}

} // namespace hearthix
