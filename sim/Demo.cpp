// The subcommand "demo": host and gateway in this process, the driver between them as a child.
#include "runtime/process/Console.hpp"
#include "runtime/text/Numbers.hpp"
#include "sim/HostCommands.hpp"
#include "sim/MeshFile.hpp"
#include "sim/Rig.hpp"
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
    Session& session_;
    double seconds_;
    Rig rig_;
    HostCommands commands_;
    Alarm commandDue_;
    Alarm endDue_;
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
      rig_(gatewaySettings(line), line.has("mesh") ? loadMesh(line.text("mesh")) : standardMesh(),
           hostSettings(line), session.view()),
      commands_(rig_.host, [&session] { session.end(); }) {
    rig_.host.driverEnded = [this](int) {
        driverFailed_ = true;
        session_.end();
    };
    commandDue_.action = [this] {
        commandDue_.setSeconds(kCommandSeconds);
        rig_.commandNext();
    };
    endDue_.action = [this] { session_.end(); };
    session_.status = [this] {
        return concat(" sent ", Str(rig_.gateway.counts().linesOut), "  missing ", Str(rig_.check.missing()),
                      " ", rig_.host.status());
    };
    session_.entered = [this](const String& text) { commands_.run(text); };
    session_.watch(rig_.host.model());
}

void Demo::run() {
    rig_.start();
    commandDue_.setSeconds(kCommandSeconds);
    if (seconds_ > 0)
        endDue_.setSeconds(seconds_);
    session_.run();
    commandDue_.cancel();
    rig_.settle(kDrainMilliseconds);
    rig_.close();
}

bool Demo::succeeded() const {
    const DeliveryCheck& check = rig_.check;
    return !driverFailed_ && check.expected() > 0 && check.missing() == 0 && check.unexpected() == 0 &&
           check.commandsMissing() == 0;
}

String Demo::summary() const {
    const GatewayCounts& lines = rig_.gateway.counts();
    const MeshCounts& mesh = rig_.gateway.mesh().counts();
    const DeliveryCheck& check = rig_.check;
    String text = concat("gateway   ", Str(lines.linesOut), " lines sent, ", Str(lines.junkOut),
                         " of junk besides, ", Str(lines.linesIn), " received\n");
    text += concat("host      ", Str(rig_.host.counts().values), " values, ",
                   Str(static_cast<Integer>(rig_.host.model().units().size())), " units, ",
                   Str(rig_.host.counts().logLines), " log lines\n");
    text += concat("commands  ", Str(rig_.host.counts().commands), " sent, ", Str(mesh.obeyed), " obeyed, ",
                   Str(check.commandsMissing()), " lost\n");
    text += concat("values    ", Str(check.expected()), " sent, ", Str(check.delivered()), " arrived, ",
                   Str(check.missing()), " lost, ", Str(check.unexpected()), " unexpected\n");
    if (driverFailed_)
        text += "The driver ended by itself.\n";
    if (check.expected() == 0)
        return text + "Nothing was sent.";
    return text += succeeded() ? "Nothing was lost." : "Not everything came through.";
}

} // namespace

const CommandUsage& demoUsage() {
    static const CommandUsage kUsage{
        "demo",
        "Shows the driver at work: a host, a gateway with a small house behind it, and\n"
        "the driver between them, in one terminal. It ends at Ctrl-C, at quit, or when\n"
        "its time is over, with a summary; the exit status is 1 when something was lost\n"
        "on the way.",
        {{"for", "SECONDS", "end after so many seconds"},
         {"driver", "PATH", "the driver; by default the one beside this program"},
         {"pty", nullptr, "join them by a serial line, a pseudo-terminal, in\nplace of TCP"},
         {"mesh", "FILE", "the nodes; hearthix-sim gateway --help describes the\nfile"},
         {"rate", "N", "send N reports a second, whatever the mesh's schedule"},
         {"fragment", nullptr, "send in small pieces"},
         {"junk", "PERCENT", "follow so many of the lines by a line of junk"},
         {"trace", nullptr, "print every packet between host and driver"}},
        "It takes the commands of hearthix-sim host on standard input, and sends some\n"
        "itself."};
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
