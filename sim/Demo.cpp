// The subcommand "demo": host and gateway in this process, the driver between them as a child.
#include "runtime/Console.hpp"
#include "runtime/ConsoleApplication.hpp"
#include "runtime/Numbers.hpp"
#include "sim/DeliveryCheck.hpp"
#include "sim/GatewayServer.hpp"
#include "sim/Host.hpp"
#include "sim/HostCommands.hpp"
#include "sim/MeshFile.hpp"
#include "sim/Session.hpp"
#include "sim/Subcommands.hpp"

namespace hearthix::sim {

namespace {

constexpr double kCommandSeconds = 0.5;
constexpr int kDrainMilliseconds = 5000;

class Demo {
public:
    Demo(const CommandLine& line, Session& session);

    void run();
    // What came through and what did not, for people.
    String summary() const;
    bool succeeded() const;

private:
    void wire();
    void commandNext();
    void settle();
    void command(const String& word, const HostUnit& unit, const String& value = String());

    Session& session_;
    double seconds_;
    GatewayServer gateway_;
    Host host_;
    HostCommands commands_;
    DeliveryCheck check_;
    Alarm commandDue_;
    Alarm endDue_;
    std::size_t nextUnit_ = 0;
    bool driverFailed_ = false;
};

GatewaySettings gatewaySettings(const CommandLine& line) {
    GatewaySettings settings;
    settings.usePseudoTerminal = line.has("pty");
    settings.greet = settings.usePseudoTerminal;
    settings.listen.port = 0;
    settings.rate = line.number("rate", 0.1, 100'000, 0);
    settings.fragment = line.has("fragment");
    settings.junk = line.number("junk", 0, 100, 0);
    return settings;
}

HostSettings hostSettings(const CommandLine& line) {
    HostSettings settings;
    settings.listen.port = 0;
    settings.connectionId = "DEMO";
    settings.driver = line.text("driver", defaultDriver());
    settings.trace = line.has("trace");
    return settings;
}

Demo::Demo(const CommandLine& line, Session& session)
    : session_(session), seconds_(line.number("for", 0.5, 1e6, 0)),
      gateway_(gatewaySettings(line), line.has("mesh") ? loadMesh(line.text("mesh")) : standardMesh()),
      host_(hostSettings(line), session.view()), commands_(host_, [&session] { session.end(); }) {
    wire();
}

void Demo::wire() {
    HostView& view = session_.view();
    gateway_.noted = [&view](const String& text) { view.note("gateway", text); };
    gateway_.sent = [this](const String& line) { check_.sent(line); };
    gateway_.received = [this](const String& line) { check_.obeyed(line); };
    host_.observed = [this](const cHearthixCommand& packet) { check_.arrived(packet); };
    host_.driverEnded = [this](int) {
        driverFailed_ = true;
        session_.end();
    };
    commandDue_.action = [this] { commandNext(); };
    endDue_.action = [this] { session_.end(); };
    session_.status = [this] {
        return concat(host_.status(), "  sent ", Str(gateway_.counts().linesOut), "  missing ",
                      Str(check_.missing()));
    };
    session_.entered = [this](const String& text) { commands_.run(text); };
    session_.watch(host_.model());
}

void Demo::run() {
    gateway_.open();
    session_.view().note("gateway", concat("the gateway is ", gateway_.where()));
    host_.setTransport(gateway_.transport());
    host_.open();
    host_.startDriver();
    commandDue_.setSeconds(kCommandSeconds);
    if (seconds_ > 0)
        endDue_.setSeconds(seconds_);
    session_.run();
    settle();
    host_.driverEnded = nullptr;
    host_.close();
    gateway_.close();
}

// Goes round the units that can be commanded. A unit shows what its node has said last, so the next command
// always changes something: the host reads 0 as on.
void Demo::commandNext() {
    commandDue_.setSeconds(kCommandSeconds);
    const std::vector<Ref<HostUnit>>& units = host_.model().units();
    for (std::size_t i = 0; i < units.size() && gateway_.hasDriver(); ++i) {
        const HostUnit& unit = *units[nextUnit_++ % units.size()];
        const std::string_view address = unit.address.view();
        if (address.ends_with(".STATUS"))
            command(unit.value == "ON" ? "ON" : "OFF", unit);
        else if (address.ends_with(".PERCENT"))
            command("SetValue", unit, Val(unit.value) < 100 ? Str(Val(unit.value) + 25) : String("0"));
        else
            continue;
        return;
    }
}

void Demo::command(const String& word, const HostUnit& unit, const String& value) {
    check_.commanded(word, unit.address, value);
    host_.command(word, unit.address, value);
}

// Nothing new is begun; what is under way gets time to arrive.
void Demo::settle() {
    commandDue_.cancel();
    gateway_.hush();
    for (int waited = 0; waited < kDrainMilliseconds && host_.hasDriver(); waited += 20) {
        if (check_.missing() == 0 && check_.commandsMissing() == 0 && !gateway_.hasUnsent() && waited > 0)
            return;
        ConsoleApplication::DoEvents(20);
    }
}

bool Demo::succeeded() const {
    return !driverFailed_ && check_.expected() > 0 && check_.missing() == 0 && check_.unexpected() == 0 &&
           check_.commandsMissing() == 0;
}

String Demo::summary() const {
    const GatewayCounts& lines = gateway_.counts();
    const MeshCounts& mesh = gateway_.mesh().counts();
    String text = concat("gateway   ", Str(lines.linesOut), " lines sent, ", Str(lines.junkOut),
                         " of junk besides, ", Str(lines.linesIn), " received\n");
    text += concat("host      ", Str(host_.counts().values), " values, ",
                   Str(static_cast<Integer>(host_.model().units().size())), " units, ",
                   Str(host_.counts().logLines), " log lines\n");
    text += concat("commands  ", Str(host_.counts().commands), " sent, ", Str(mesh.obeyed), " obeyed, ",
                   Str(check_.commandsMissing()), " lost\n");
    text += concat("values    ", Str(check_.expected()), " sent, ", Str(check_.delivered()), " arrived, ",
                   Str(check_.missing()), " lost, ", Str(check_.unexpected()), " unexpected\n");
    if (driverFailed_)
        text += "The driver ended by itself.\n";
    if (check_.expected() == 0)
        return text + "Nothing was sent.";
    return text += succeeded() ? "Nothing was lost." : "Not everything came through.";
}

} // namespace

const CommandUsage& demoUsage() {
    static const CommandUsage kUsage{
        "demo",
        "Shows the driver at work: a host, a gateway with a small house behind it, and the\n"
        "driver between them, in one terminal. It ends at Ctrl-C, at quit, or when its time\n"
        "is over, with a summary; the exit status is 1 when something was lost on the way.",
        {{"for", "SECONDS", "end after so many seconds"},
         {"driver", "PATH", "the driver; by default the one beside this program"},
         {"pty", nullptr, "join them by a serial line, a pseudo-terminal, in place\nof TCP"},
         {"mesh", "FILE", "the nodes; hearthix-sim gateway --help describes the file"},
         {"rate", "N", "send N reports a second, whatever the mesh's schedule"},
         {"fragment", nullptr, "send in small pieces"},
         {"junk", "PERCENT", "follow so many of the lines by a line of junk"},
         {"trace", nullptr, "print every packet between host and driver"}},
        "It takes the commands of hearthix-sim host on standard input, and sends some itself."};
    return kUsage;
}

int runDemo(const std::vector<String>& words) {
    const CommandLine line(demoUsage(), words);
    String summary;
    bool succeeded = false;
    {
        Session session(true);
        Demo demo(line, session);
        demo.run();
        summary = demo.summary();
        succeeded = demo.succeeded();
    }
    Print(summary);
    return succeeded ? 0 : 1;
}

} // namespace hearthix::sim
