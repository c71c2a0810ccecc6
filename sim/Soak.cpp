// The subcommand "soak": the mesh of the demo at high speed, with mishaps that begin and end.
#include "runtime/process/ConsoleApplication.hpp"
#include "runtime/text/Numbers.hpp"
#include "runtime/values/Clock.hpp"
#include "sim/MeshFile.hpp"
#include "sim/Output.hpp"
#include "sim/Rig.hpp"
#include "sim/Subcommands.hpp"
#include "sim/system/SignalWatch.hpp"
#include "sim/Text.hpp"

#include <algorithm>
#include <array>
#include <csignal>
#include <deque>
#include <filesystem>
#include <fstream>

namespace hearthix::sim {

namespace {

constexpr double kSeconds = 300;
constexpr double kRate = 5000; // values a second
constexpr double kCommandSeconds = 0.02;
constexpr int kPatienceMilliseconds = 60'000;
constexpr int kSettleMilliseconds = 60'000;
constexpr double kShortSilence = 12;       // the driver asks after ten seconds, and ends after twenty
constexpr Integer kMemoryGrowth = 8 << 10; // KiB

// Keeps the latest lines of the log. They are printed if the soak fails.
class LastNotes : public HostView {
public:
    void note(const String& kind, const String& text) override {
        lines_.push_back(concat(clockText(true), " ", kind, " ", text));
        if (lines_.size() > kKept)
            lines_.pop_front();
    }
    void unitChanged(const HostUnit&, HostModel::Change) override {}
    void showUnits(const HostModel&) override {}
    void showHelp(const std::vector<std::string>&) override {}
    void print() const {
        for (const String& line : lines_)
            putLine(printable(line.view()));
    }

private:
    static constexpr std::size_t kKept = 30;
    std::deque<String> lines_;
};

// The memory and the number of open files of a process; 0 if there is no such process.
struct Holding {
    Integer kibibytes = 0;
    Integer files = 0;

    explicit Holding(const String& process) {
        const std::string folder = "/proc/" + std::string(process.view());
        std::ifstream status(folder + "/status");
        for (std::string word; status >> word;)
            if (word == "VmRSS:")
                status >> kibibytes;
        std::error_code error;
        files = std::distance(std::filesystem::directory_iterator(folder + "/fd", error), {});
    }
    String text() const { return concat(Str(kibibytes), " KiB ", Str(files), " files"); }
};

class Soak {
public:
    explicit Soak(const Settings& settings);

    void run();
    String verdict() const;
    bool succeeded() const { return failure_.empty(); }

private:
    struct Mishap {
        const char* name;
        void (Soak::*begin)();
        int endsWith = kDriverGoesOn; // the driver's exit status
        double leastRun = 0;          // omitted in a run of fewer seconds
        double lasts = 0;             // seconds; 0 for the length of a phase
    };
    static constexpr int kDriverGoesOn = -1;
    static const std::array<Mishap, 10> kMishaps;

    void nothing() {}
    void fragments() { rig_.gateway.setFragment(true); }
    void junk() { rig_.gateway.setJunk(30); }
    void stall() { rig_.host.stall(true); }
    void silence() { rig_.gateway.setSilent(true); }
    void allAtOnce();
    void dropGateway() { rig_.gateway.drop(); }
    void dropLink() { rig_.host.dropLink(); }
    void killDriver();
    void calm();

    void perform(const Mishap& mishap);
    void awaitNewDriver(const Mishap& mishap);
    void pump(double seconds);
    bool pumpUntil(const std::function<bool()>& condition);
    void settle(const char* name);
    void watchHoldings();
    void watch(const char* whose, const Holding& before, const Holding& now);
    void fail(const String& reason);
    double elapsed() const { return static_cast<double>(clocks::monotonic() - start_) / 1e9; }

    LastNotes notes_;
    double seconds_;
    double phase_;
    Rig rig_;
    Ref<SignalWatch> signals_ = Ref<SignalWatch>::make();
    Alarm commandDue_;
    clocks::Nanoseconds start_ = clocks::monotonic();
    Integer mishaps_ = 0;
    Integer ends_ = 0; // number of drivers that ended
    int expectedEnd_ = kDriverGoesOn;
    bool interrupted_ = false;
    Integer watchedDriver_ = 0;
    Holding driverBefore_{"none"}; // after its first phase
    Holding selfBefore_{"none"};
    String failure_;
};

const std::array<Soak::Mishap, 10> Soak::kMishaps{
    {{"calm", &Soak::nothing},
     {"fragments", &Soak::fragments},
     {"junk", &Soak::junk},
     {"stalled host", &Soak::stall},
     {"all of these", &Soak::allAtOnce},
     {"dropped gateway", &Soak::dropGateway, 0},
     {"dropped host link", &Soak::dropLink, 0},
     {"killed driver", &Soak::killDriver, 128 + SIGKILL},
     {"short silence", &Soak::silence, kDriverGoesOn, 60, kShortSilence},
     {"long silence", &Soak::silence, 0, 60}}};

GatewaySettings gatewaySettings(GatewaySettings settings) {
    settings.listen.port = 0;
    settings.rate = settings.rate > 0 ? settings.rate : kRate;
    return settings;
}

HostSettings hostSettings(HostSettings settings) {
    settings.listen.port = 0;
    settings.connectionId = "SOAK";
    settings.restart = true;
    return settings;
}

Soak::Soak(const Settings& settings)
    : seconds_(settings.seconds > 0 ? settings.seconds : kSeconds),
      phase_(std::clamp(seconds_ / 60, 1.0, 20.0)),
      rig_(gatewaySettings(settings.gateway), loadMesh({}), hostSettings(settings.host), notes_) {
    commandDue_.action = [this] {
        commandDue_.setSeconds(kCommandSeconds);
        rig_.commandNext();
    };
    rig_.host.driverEnded = [this](int status) {
        ++ends_;
        if (status != expectedEnd_)
            fail(concat("the driver has ended ", endingText(status)));
        rig_.host.setTransport(rig_.gateway.transport());
    };
    signals_->caught = [this](int) { interrupted_ = true; };
    signals_->Open({SIGINT, SIGTERM, SIGHUP});
}

void Soak::fail(const String& reason) {
    if (failure_.empty())
        failure_ = reason;
}

void Soak::run() {
    rig_.start();
    if (!pumpUntil([this] { return rig_.host.hasReadyDriver(); }))
        fail("the driver did not become ready");
    commandDue_.setSeconds(kCommandSeconds);
    for (std::size_t turn = 0; failure_.empty() && !interrupted_; ++turn) {
        const bool firstRound = turn < kMishaps.size();
        if (!firstRound && elapsed() > seconds_)
            break;
        const Mishap& mishap = kMishaps[turn % kMishaps.size()];
        // In the last third no driver is ended, so that a growth of its memory is seen.
        const bool late = !firstRound && elapsed() > seconds_ * 2 / 3;
        if (seconds_ >= mishap.leastRun && !(late && mishap.endsWith != kDriverGoesOn))
            perform(mishap);
    }
    commandDue_.cancel();
    if (rig_.check.delivered() == 0)
        fail("nothing has arrived");
    if (!failure_.empty())
        notes_.print();
    rig_.close();
}

void Soak::perform(const Mishap& mishap) {
    ++mishaps_;
    expectedEnd_ = mishap.endsWith;
    if (mishap.endsWith != kDriverGoesOn) {
        pump(phase_);
        awaitNewDriver(mishap);
    } else {
        (this->*mishap.begin)();
    }
    pump(std::max(phase_, mishap.lasts));
    calm();
    settle(mishap.name);
}

void Soak::awaitNewDriver(const Mishap& mishap) {
    const Integer before = ends_;
    (this->*mishap.begin)();
    if (!pumpUntil([this, before] { return ends_ > before; }))
        fail(concat("the driver did not end: ", mishap.name));
    expectedEnd_ = kDriverGoesOn;
    if (!pumpUntil([this] { return rig_.host.hasReadyDriver() && rig_.gateway.hasDriver(); }))
        fail("the driver did not become ready again");
}

void Soak::allAtOnce() {
    fragments();
    junk();
    stall();
}

void Soak::killDriver() {
    rig_.host.killDriver();
}

void Soak::calm() {
    rig_.gateway.setFragment(false);
    rig_.gateway.setJunk(0);
    rig_.gateway.setSilent(false);
    rig_.host.stall(false);
}

void Soak::pump(double seconds) {
    for (const double end = elapsed() + seconds; elapsed() < end && failure_.empty() && !interrupted_;)
        ConsoleApplication::DoEvents(20);
}

bool Soak::pumpUntil(const std::function<bool()>& condition) {
    for (int waited = 0; waited < kPatienceMilliseconds && failure_.empty() && !interrupted_ && !condition();
         waited += 20)
        ConsoleApplication::DoEvents(20);
    return interrupted_ || condition();
}

// Everything must have arrived by now, except what was in flight when a driver ended.
void Soak::settle(const char* name) {
    if (!failure_.empty() || interrupted_)
        return;
    commandDue_.cancel();
    const bool settled = rig_.settle(kSettleMilliseconds);
    const DeliveryCheck& check = rig_.check;
    putLine(concat(clockText(false), "  ", Str(static_cast<Integer>(elapsed())), " of ",
                   Str(static_cast<Integer>(seconds_)), " s  ", String(padded(name, 18)),
                   Str(check.delivered()), " values of ", Str(check.expected()), ", ", Str(check.inFlight()),
                   " in flight; driver ", Holding(Str(rig_.host.driverProcess())).text(), ", this ",
                   Holding("self").text()));
    if (!settled)
        fail(concat(Str(check.missing()), " values and ", Str(check.commandsMissing()), " commands lost, ",
                    Str(check.disagreements(rig_.host.model())), " units wrong"));
    if (check.unexpected() + check.commandsUnexpected() > 0)
        fail(concat(Str(check.unexpected()), " values and ", Str(check.commandsUnexpected()),
                    " commands that were never sent"));
    watchHoldings();
    rig_.gateway.hush(false);
    commandDue_.setSeconds(kCommandSeconds);
}

void Soak::watchHoldings() {
    const Holding driver(Str(rig_.host.driverProcess()));
    if (std::exchange(watchedDriver_, rig_.host.driverProcess()) == rig_.host.driverProcess())
        watch("the driver", driverBefore_, driver);
    else
        driverBefore_ = driver;
    const Holding self("self");
    if (selfBefore_.files > 0)
        watch("this process", selfBefore_, self);
    else if (mishaps_ >= static_cast<Integer>(kMishaps.size()))
        selfBefore_ = self;
}

void Soak::watch(const char* whose, const Holding& before, const Holding& now) {
    if (now.files != before.files || now.kibibytes > before.kibibytes + kMemoryGrowth)
        fail(concat(whose, " grows: from ", before.text(), " to ", now.text()));
}

String Soak::verdict() const {
    const DeliveryCheck& check = rig_.check;
    const HostCounts& host = rig_.host.counts();
    String text = concat(Str(static_cast<Integer>(elapsed())), " seconds, ", Str(mishaps_), " phases, ",
                         Str(host.driverStarts), " drivers, ", Str(check.expected()), " values, ",
                         Str(host.commands), " commands\n", Str(check.inFlight()), " values and ",
                         Str(check.commandsInFlight()), " commands were in flight when a driver ended\n");
    if (failure_.empty())
        return text += "SOAK PASSED: nothing else was lost.";
    return text += concat("SOAK FAILED: ", failure_);
}

} // namespace

int runSoak(const Settings& settings) {
    Soak soak(settings);
    soak.run();
    putLine(soak.verdict());
    return soak.succeeded() ? 0 : 1;
}

} // namespace hearthix::sim
