// The subcommand "host".
#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "sim/Failure.hpp"
#include "sim/GatewayTap.hpp"
#include "sim/HostCommands.hpp"
#include "sim/Session.hpp"
#include "sim/Subcommands.hpp"
#include "sim/Text.hpp"

#include <filesystem>
#include <set>

namespace hearthix::sim {

namespace {

// Time for the driver's last packets to arrive.
constexpr Integer kFarewellMilliseconds = 200;

// The serial ports of the machine, for the end of a sentence.
String presentPorts() {
    std::set<std::string> paths;
    for (const auto& [folder, prefix] :
         {std::pair{"/dev/serial/by-id", ""}, {"/dev", "ttyUSB"}, {"/dev", "ttyACM"}}) {
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator(folder, error))
            if (entry.path().filename().string().starts_with(prefix))
                paths.insert(entry.path());
    }
    String list = paths.empty() ? "; this machine has none at present" : "; there are";
    for (const std::string& path : paths)
        list += concat(" ", String(path));
    return list;
}

class HostRun {
public:
    explicit HostRun(const Settings& settings);

    // The reason if the run has failed; empty otherwise.
    String run();

private:
    void startDriver();
    bool isAwaited(const String& address) const;
    void driverEnded(int status);
    void end(const String& failure);

    const Settings& settings_;
    Session session_;
    Host host_;
    HostCommands commands_;
    GatewayTap tap_;
    Alarm timeOver_;
    Alarm farewell_;
    Integer values_ = 0;
    String failure_;
};

HostRun::HostRun(const Settings& settings)
    : settings_(settings), session_(settings.json ? Session::Shows::json : Session::Shows::screen),
      host_(settings.host, session_.view()), commands_(host_, [this] { end({}); }),
      tap_(settings.host.transport) {
    session_.status = [this] { return host_.status(); };
    session_.entered = [this](const String& line) { commands_.run(line); };
    session_.watch(host_.model());
    host_.observed = [this](const cHearthixCommand& packet) {
        const Integer values = host_.counts().values;
        if (std::exchange(values_, values) != values && isAwaited(packet.GetMulti("addr")))
            end({});
    };
    host_.driverEnded = [this](int status) { driverEnded(status); };
    timeOver_.action = [this] {
        const bool isEarly = settings_.count > 0 || !settings_.untilAddress.empty();
        end(isEarly ? "the time of --for is over, and the values for --count or --until have not come" : "");
    };
    farewell_.action = [this] { session_.end(); };
}

// Whether the new value of this unit ends the run.
bool HostRun::isAwaited(const String& address) const {
    if (settings_.count > 0 && values_ >= settings_.count)
        return true;
    const Ref<HostUnit> unit = host_.model().find(settings_.untilAddress);
    if (unit.isNil() || unit != host_.model().find(address))
        return false;
    const String& wanted = settings_.untilValue.value_or(unit->value);
    return unit->value == wanted ||
           (IsNumeric(wanted) && IsNumeric(unit->value) && Val(wanted) == Val(unit->value));
}

void HostRun::driverEnded(int status) {
    if (session_.hasEnded())
        return;
    String reason = host_.reasonOfEnd();
    if (host_.lastWords().view().starts_with("no serial port is named "))
        reason += presentPorts();
    if (!settings_.recordFile.empty())
        host_.setTransport(tap_.transport());
    if (!tap_.trouble().empty())
        reason = concat("; ", tap_.trouble());
    if (settings_.host.restart) {
        if (!reason.empty())
            session_.view().note("host", concat("the driver has ended", reason));
        return;
    }
    if (!host_.hasClosedDriver())
        failure_ = concat("the driver has ended ", endingText(status), reason,
                          "; with --restart it is started again");
    farewell_.setIn(kFarewellMilliseconds);
}

void HostRun::end(const String& failure) {
    failure_ = failure;
    host_.hush();
    session_.end();
}

void HostRun::startDriver() {
    const std::vector<String>& gateway = settings_.host.transport;
    if (!settings_.recordFile.empty()) {
        if (gateway.size() == 1 && System::SerialPort(gateway[0]).isNil())
            throw Failure{concat("no serial port is named ", gateway[0], presentPorts())};
        tap_.open(settings_.recordFile);
        host_.setTransport(tap_.transport());
    }
    host_.startDriver();
}

String HostRun::run() {
    host_.open();
    startDriver();
    if (settings_.seconds > 0)
        timeOver_.setSeconds(settings_.seconds);
    session_.run();
    host_.close();
    return failure_.empty() ? commands_.failure() : failure_;
}

} // namespace

int runHost(const Settings& settings) {
    // The message is printed after the screen is closed.
    if (const String failure = HostRun(settings).run(); !failure.empty())
        throw Failure{failure};
    return 0;
}

} // namespace hearthix::sim
