// hearthix-gateway-mqtt: a TCP port on which a driver finds a MySensors gateway that speaks MQTT.
//
// A message that the gateway publishes becomes a line for the driver, and a line of the driver becomes a
// message for the gateway: OUT/10;3;1;0;0 with 21.5 is 10;3;1;0;0;21.5.
#include "runtime/events/TCPSocket.hpp"
#include "runtime/process/Console.hpp"
#include "runtime/process/ConsoleApplication.hpp"
#include "sim/Alarm.hpp"
#include "sim/system/ListeningSocket.hpp"
#include "tools/MqttBroker.hpp"

#include <algorithm>
#include <CLI/CLI.hpp>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <utility>

namespace hearthix {

namespace {

constexpr std::size_t kLongestLine = 65'536;
constexpr std::size_t kLongestPayload = 4096;
constexpr std::size_t kMostUnsent = std::size_t{1024} * 1024;
constexpr Integer kSilenceSeconds = 12;

struct Request {
    Integer port = 0;
    std::string out;
    std::string in;
    BrokerSettings broker;
    std::string passwordFile;
};

void report(const std::string& sentence) {
    PrintError("hearthix-gateway-mqtt: " + sentence);
}

class Bridge {
public:
    explicit Bridge(const Request& request);
    // Runs until the process is ended. Returns only if it cannot begin, with the reason.
    std::string run();

private:
    // The connection of a driver.
    class Link : public TCPSocket {
    public:
        explicit Link(Bridge& bridge) : bridge_(bridge) {}
        void Event_DataAvailable() override;
        void Event_Error(const RuntimeException&) override { bridge_.close("the driver has disconnected"); }

    private:
        Bridge& bridge_;
        std::string unread_;
    };

    void accept(int descriptor);
    void close(const std::string& reason);
    void toDriver(const std::string& topic, std::string payload);
    void toGateway(const std::string& line);
    void reportSilence() const;

    const Request& request_;
    Ref<ListeningSocket> listener_ = Ref<ListeningSocket>::make();
    Ref<Link> driver_;
    Ref<MqttBroker> broker_ = Ref<MqttBroker>::make();
    sim::Alarm silence_;
    bool heard_ = false; // whether any message was received
};

Bridge::Bridge(const Request& request) : request_(request) {
    listener_->accepted = [this](int descriptor) { accept(descriptor); };
    broker_->noted = report;
    broker_->received = [this](const std::string& topic, const std::string& payload) {
        toDriver(topic, payload);
    };
    silence_.action = [this] { reportSilence(); };
}

std::string Bridge::run() {
    if (!listener_->Listen("127.0.0.1", request_.port))
        return "cannot listen on port " + std::to_string(request_.port) + ": " +
               std::string(listener_->LastError().view()) + "; choose another PORT";
    if (std::string reason = broker_->connect(request_.broker, request_.out + "/+/+/+/+/+"); !reason.empty())
        return reason;
    Print("The driver finds the gateway at socket://127.0.0.1:" + std::to_string(listener_->Port()));
    silence_.setSeconds(kSilenceSeconds);
    while (true)
        ConsoleApplication::DoEvents(1'000'000);
}

void Bridge::accept(int descriptor) {
    const auto link = Ref<Link>::make(*this);
    link->adopt(descriptor);
    if (driver_ || !broker_->isConnected()) {
        report(driver_ ? "a second driver was refused, because one is connected"
                       : "a driver was refused, because there is no connection to the broker");
        return link->Close();
    }
    driver_ = link;
    Print("A driver has connected.");
    silence_.setSeconds(kSilenceSeconds);
}

void Bridge::close(const std::string& reason) {
    if (const Ref<Link> link = std::exchange(driver_, nullptr); link)
        link->Close();
    report(reason);
}

void Bridge::reportSilence() const {
    if (!heard_)
        report("no message has come for " + request_.out +
               "/+/+/+/+/+ since the start. Check that the gateway "
               "runs, and its topics: OUT and IN may be wrong or swapped; commands go to " +
               request_.in + "/...");
}

// The printable form of a line, for messages.
std::string printable(std::string line) {
    constexpr std::size_t kLongest = 80;
    line.resize(std::min(line.size(), kLongest));
    std::replace_if(
        line.begin(), line.end(), [](char byte) { return byte < ' ' || byte > '~'; }, '?');
    return line;
}

// A payload must stay one line: it could otherwise pretend to come from another node.
void Bridge::toDriver(const std::string& topic, std::string payload) {
    static const std::regex kTopic("[0-9]{1,3}(/[0-9]{1,3}){4}");
    std::string head = topic.substr(std::min(request_.out.size() + 1, topic.size()));
    if (!std::regex_match(head, kTopic))
        return;
    heard_ = true;
    if (driver_.isNil())
        return;
    if (payload.size() > kLongestPayload)
        return report("a message of " + std::to_string(payload.size()) + " bytes for " + topic +
                      " was dropped, because no node sends one of that length");
    std::replace(head.begin(), head.end(), '/', ';');
    for (const char end : {'\n', '\0'})
        std::replace(payload.begin(), payload.end(), end, ' ');
    driver_->Write(head + ";" + payload + "\n");
    if (driver_->unsentBytes() > kMostUnsent)
        close("the driver was disconnected, because it reads nothing");
}

void Bridge::Link::Event_DataAvailable() {
    unread_ += ReadAll().view();
    std::size_t start = 0;
    for (std::size_t end = 0; (end = unread_.find('\n', start)) != std::string::npos; start = end + 1)
        bridge_.toGateway(unread_.substr(start, end - start));
    unread_.erase(0, start);
    if (unread_.size() > kLongestLine)
        bridge_.close("the driver was disconnected, because it sent an endless line");
}

// A gateway reads a line of five fields, without the last separator, as one with an empty payload.
void Bridge::toGateway(const std::string& line) {
    static const std::regex kFields("([0-9]{1,3}(?:;[0-9]{1,3}){3};-?[0-9]{1,3})(?:;|$)");
    std::smatch match;
    if (!std::regex_search(line, match, kFields, std::regex_constants::match_continuous))
        return report("a line of the driver was dropped, because it is not a MySensors message: " +
                      printable(line));
    std::string topic = match[1];
    std::replace(topic.begin(), topic.end(), ';', '/');
    broker_->publish(request_.in + "/" + topic, line.substr(static_cast<std::size_t>(match.length())));
}

std::string firstLineOf(const std::string& path) {
    std::string line;
    std::ifstream file(path);
    if (!std::getline(file, line))
        throw CLI::ValidationError("--password-file", "cannot read a password from " + path);
    return line;
}

std::string withoutSlash(std::string topic) {
    while (topic.ends_with('/'))
        topic.pop_back();
    if (topic.empty() || mosquitto_pub_topic_check(topic.c_str()) != MOSQ_ERR_SUCCESS)
        throw CLI::ValidationError("OUT and IN", "name topics without wildcards, such as mygateway1-out");
    return topic;
}

struct Option {
    const char* name;
    std::string* target;
    const char* type;
    const char* help;
};

void describeBroker(CLI::App& app, BrokerSettings& broker, std::string& passwordFile) {
    const Option options[] = {
        {"-h,--host", &broker.host, "HOST", "the broker, localhost by default"},
        {"-u,--username", &broker.user, "USER", "the user"},
        {"-P,--pw", &broker.password, "PASSWORD", "the password; other users of this machine can see it"},
        {"--password-file", &passwordFile, "FILE", "a file with the password in its first line"},
        {"-i,--id", &broker.id, "ID", "the client ID; by default the broker chooses one"},
        {"--cafile", &broker.caFile, "FILE", "certificates of authorities, for TLS"},
        {"--capath", &broker.caPath, "FOLDER", "a folder with such certificates"},
        {"--cert", &broker.certificate, "FILE", "the certificate of this client"},
        {"--key", &broker.key, "FILE", "the key of this client"}};
    for (const Option& option : options)
        app.add_option(option.name, *option.target, option.help)->option_text(option.type);
    const auto number = [&app](const char* name, int& target, int lowest, int highest, const char* help) {
        app.add_option(name, target, help)->check(CLI::Range(lowest, highest))->option_text("NUMBER");
    };
    number("-p,--port", broker.port, 1, 65535, "the broker's port, 1883 by default");
    number("-q,--qos", broker.qos, 0, 2, "quality of service, 0 to 2; 1 by default");
    number("-k,--keepalive", broker.keepAlive, 5, 3600,
           "seconds between two checks of the broker, 5 by default");
    app.add_flag("--insecure", broker.insecure, "accept a certificate for another host");
}

void describe(CLI::App& app, Request& request) {
    app.set_help_flag("--help", "print this help");
    app.set_version_flag("--version", "hearthix-gateway-mqtt " HEARTHIX_VERSION, "print the version");
    app.add_option("PORT", request.port,
                   "listen for the driver on this port of 127.0.0.1; 0 selects a free port")
        ->check(CLI::Range(0, 65535))
        ->required()
        ->option_text(" ");
    app.add_option("OUT", request.out, "the start of the topics that the gateway publishes")
        ->required()
        ->option_text(" ");
    app.add_option("IN", request.in, "the start of the topics that the gateway subscribes to")
        ->required()
        ->option_text(" ");
    describeBroker(app, request.broker, request.passwordFile);
    app.footer("The password may also be in the environment variable HEARTHIX_MQTT_PASSWORD.\n\n"
               "    hearthix-gateway-mqtt 5004 mygateway1-out mygateway1-in -h 192.168.1.2 -u mysensors\n"
               "    hearthix-sim host --serial socket://127.0.0.1:5004");
}

void readPassword(const Request& request, BrokerSettings& broker) {
    const char* fromEnvironment = std::getenv("HEARTHIX_MQTT_PASSWORD");
    if (!request.passwordFile.empty())
        broker.password = firstLineOf(request.passwordFile);
    else if (fromEnvironment != nullptr && broker.password.empty() && !broker.user.empty())
        broker.password = fromEnvironment;
    if (broker.user.empty() && !broker.password.empty())
        throw CLI::ValidationError("-P", "a password needs a user; name it with -u");
}

void parse(CLI::App& app, int count, const char* const* words, Request& request) {
    app.parse(count, words);
    request.out = withoutSlash(request.out);
    request.in = withoutSlash(request.in);
    if (request.out == request.in)
        throw CLI::ValidationError("OUT and IN", "the two must differ");
    readPassword(request, request.broker);
}

class GatewayMqtt : public ConsoleApplication {
public:
    GatewayMqtt(int count, const char* const* words) : count_(count), words_(words) {}

    Integer Event_Run(const Array<String>&) override {
        CLI::App app("Connects the driver to a MySensors gateway that uses MQTT.", "hearthix-gateway-mqtt");
        Request request;
        describe(app, request);
        try {
            parse(app, count_, words_, request);
        } catch (const CLI::CallForHelp&) {
            Print(app.help());
            return 0;
        } catch (const CLI::CallForVersion& version) {
            Print(version.what());
            return 0;
        } catch (const CLI::ParseError& error) {
            report(std::string(error.what()) + "; see hearthix-gateway-mqtt --help");
            return 2;
        }
        report(Bridge(request).run());
        return 1;
    }
    bool Event_UnhandledException(const RuntimeException&) override { return false; }

private:
    int count_;
    const char* const* words_;
};

} // namespace

} // namespace hearthix

int main(int argc, char** argv) {
    hearthix::GatewayMqtt application(argc, argv);
    return application.execute(argc, argv);
}
