// The subcommand "check-host".
#include "runtime/process/Console.hpp"
#include "sim/Failure.hpp"
#include "sim/HostCheck.hpp"
#include "sim/Subcommands.hpp"
#include "sim/system/ChildProcess.hpp"
#include "sim/system/SignalWatch.hpp"

#include <csignal>
#include <cstdlib>

namespace hearthix::sim {

namespace {

// The program of the host, if the check starts it. Its output goes to standard error.
Ref<ChildProcess> startHost(const std::vector<String>& words) {
    auto host = Ref<ChildProcess>::make();
    host->printed = [](const String& line) { PrintError(line); };
    host->ended = [](int status) {
        throw Failure{concat("the host has ended with status ", Str(status),
                             "; it has to run until the check is done")};
    };
    if (!host->Start(words[0], {words.begin() + 1, words.end()}))
        throw Failure{concat("cannot start the host ", words[0], "; name a program after --")};
    return host;
}

void checkStarts(const CheckSettings& settings, HostCheck& check) {
    DriverStarts starts;
    starts.writeProgram(settings.program);
    PrintError(concat("check-host: let the host start ", settings.program, " as its driver"));
    Ref<ChildProcess> host;
    if (!settings.words.empty())
        host = startHost(settings.words);
    check.play(starts);
    if (host)
        host->ended = nullptr; // from now on it may end
    check.letHostQuit();
}

} // namespace

int runCheckHost(const Settings& settings) {
    const CheckSettings& wanted = settings.check;
    if (const char* port = std::getenv("HEARTHIX_CHECK_PORT"))
        return runStartedDriver(wanted.words, ValInteger(port));
    const auto signals = Ref<SignalWatch>::make();
    signals->caught = [](int) { throw Failure{"interrupted, so there is no report"}; };
    signals->Open({SIGINT, SIGTERM, SIGHUP});
    Verdicts verdicts;
    const HostOperator person(wanted.answers);
    HostCheck check(verdicts, person);
    if (wanted.program.empty()) {
        check.connectTo(wanted.host, wanted.connectionId);
        check.letHostQuit();
    } else {
        checkStarts(wanted, check);
    }
    if (settings.json)
        verdicts.printJson();
    else
        verdicts.print();
    return verdicts.exitStatus();
}

} // namespace hearthix::sim
