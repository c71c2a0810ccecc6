// The subcommand "host".
#include "sim/HostCommands.hpp"
#include "sim/Session.hpp"
#include "sim/Subcommands.hpp"

namespace hearthix::sim {

int runHost(const Settings& settings) {
    Session session(true);
    Host host(settings.host, session.view());
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
