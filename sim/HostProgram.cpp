// The subcommand "host".
#include "runtime/files/FolderItem.hpp"
#include "runtime/text/Numbers.hpp"
#include "sim/Host.hpp"
#include "sim/HostCommands.hpp"
#include "sim/Session.hpp"
#include "sim/Subcommands.hpp"
#include "sim/system/ChildProcess.hpp"

namespace hearthix::sim {

namespace {

HostSettings settingsOf(const CommandLine& line) {
    HostSettings settings;
    settings.listen = line.address("listen", settings.listen);
    settings.connectionId = line.text("id", settings.connectionId);
    settings.driver = line.text("driver");
    settings.restart = line.has("restart");
    settings.unitsFile = line.text("units");
    settings.trace = line.has("trace");
    line.exclude("serial", "gateway");
    if (line.has("serial"))
        settings.transport = {line.text("serial")};
    if (line.has("gateway")) {
        const SocketAddress gateway = line.address("gateway", {});
        settings.transport = {gateway.host, Str(gateway.port)};
    }
    const bool hasTransport = !settings.transport.empty();
    if (hasTransport && settings.driver.empty())
        settings.driver = defaultDriver();
    if (!hasTransport && !settings.driver.empty())
        throw UsageError{"hearthix-sim host needs to know the driver's gateway: add --serial DEVICE or "
                         "--gateway HOST:PORT"};
    if (settings.restart && settings.driver.empty())
        throw UsageError{"hearthix-sim host can restart only a driver of its own: add --driver PATH"};
    return settings;
}

} // namespace

String defaultDriver() {
    const auto self = Ref<FolderItem>::make(ownExecutable());
    return self->Parent()->Child("hearthix-mysensors")->ShellPath();
}

const CommandUsage& hostUsage() {
    static const CommandUsage kUsage{
        "host",
        "Stands in for the home-automation host: waits for a driver, keeps its units and\n"
        "sends it commands. On a terminal the units are shown live.",
        {{"listen", "ADDRESS:PORT",
          "where drivers connect, 127.0.0.1:20300 by default;\nport 0 takes a free one"},
         {"driver", "PATH",
          "start this driver; by default the one beside this\nprogram, when a gateway is named"},
         {"serial", "DEVICE", "the driver's gateway is on this serial line"},
         {"gateway", "HOST:PORT", "the driver's gateway is at this TCP address"},
         {"id", "ID", "the connection ID for the driver, SIM by default"},
         {"restart", nullptr, "start the driver again when it ends"},
         {"units", "FILE", "keep the units in this file"},
         {"trace", nullptr, "print every packet"}},
        "Commands, one a line on standard input; help lists them:\n"
        "  on ADDRESS, off ADDRESS, set ADDRESS VALUE, query ADDRESS, ping, debug on|off,\n"
        "  raw TEXT, q, p, d, close, units, help, quit"};
    return kUsage;
}

int runHost(const std::vector<String>& words) {
    const HostSettings settings = settingsOf(CommandLine(hostUsage(), words));
    Session session(true);
    Host host(settings, session.view());
    HostCommands commands(host, [&session] { session.end(); });
    session.status = [&host] { return host.status(); };
    session.entered = [&commands](const String& line) { commands.run(line); };
    session.watch(host.model());
    host.open();
    host.startDriver();
    session.run();
    host.close();
    return 0;
}

} // namespace hearthix::sim
