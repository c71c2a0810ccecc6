// The subcommand "demo": runs a host and a gateway in this process, and the driver as a child between them.
#include "runtime/text/Numbers.hpp"
#include "sim/HostCommands.hpp"
#include "sim/MeshFile.hpp"
#include "sim/Output.hpp"
#include "sim/Rig.hpp"
#include "sim/Session.hpp"
#include "sim/Subcommands.hpp"
#include "sim/Text.hpp"

namespace hearthix::sim {

namespace {

constexpr double kCommandSeconds = 0.5;
constexpr double kPauseSeconds = 60; // after a command of the user
constexpr int kDrainMilliseconds = 30'000;

class Demo {
public:
    Demo(const Settings& settings, Session& session);

    void run();
    // The numbers of delivered and lost messages, as text.
    String summary() const;
    bool succeeded() const;

private:
    Session& session_;
    double seconds_;
    Rig rig_;
    HostCommands commands_;
    Alarm commandDue_;
    Alarm endDue_;
    String driversEnd_; // a sentence if the driver has ended by itself
};

GatewaySettings gatewaySettings(GatewaySettings settings) {
    settings.listen.port = 0;
    return settings;
}

HostSettings hostSettings(HostSettings settings) {
    settings.listen.port = 0;
    settings.connectionId = "DEMO";
    return settings;
}

Demo::Demo(const Settings& settings, Session& session)
    : session_(session), seconds_(settings.seconds),
      rig_(gatewaySettings(settings.gateway), loadMesh(settings.meshFile), hostSettings(settings.host),
           session.view()),
      commands_(rig_.host, [&session] { session.end(); }) {
    rig_.host.driverEnded = [this](int status) {
        driversEnd_ = concat("The driver has ended ", endingText(status), rig_.host.reasonOfEnd(), ".\n");
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
    session_.entered = [this](const String& text) {
        commands_.run(text);
        if (!text.empty())
            commandDue_.setSeconds(kPauseSeconds);
    };
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
    return driversEnd_.empty() && commands_.failure().empty() && check.expected() > 0 &&
           check.missing() == 0 && check.unexpected() == 0 && check.commandsMissing() == 0;
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
    text += driversEnd_;
    if (const String failure = commands_.failure(); !failure.empty())
        text += concat("Note: ", failure, ".\n");
    if (check.expected() == 0)
        return text + "Nothing was sent.";
    return text += succeeded() ? "Nothing was lost." : "Something was lost.";
}

} // namespace

int runDemo(const Settings& settings) {
    String summary;
    bool succeeded = false;
    {
        Session session(Session::Shows::screen);
        Demo demo(settings, session);
        demo.run();
        summary = demo.summary();
        succeeded = demo.succeeded();
    }
    putLine(summary);
    return succeeded ? 0 : 1;
}

} // namespace hearthix::sim
