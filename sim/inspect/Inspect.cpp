// The subcommand "inspect".
#include "runtime/process/ConsoleApplication.hpp"
#include "runtime/values/Clock.hpp"
#include "sim/Failure.hpp"
#include "sim/inspect/Report.hpp"
#include "sim/Output.hpp"
#include "sim/Subcommands.hpp"
#include "sim/system/FollowedInput.hpp"
#include "sim/system/SignalWatch.hpp"
#include "sim/system/Terminal.hpp"

#include <csignal>
#include <set>
#include <tuple>

namespace hearthix::sim {

namespace {

constexpr int kWithFindings = 3;

class Inspection {
public:
    explicit Inspection(const Settings& settings);
    int run();

private:
    void read();
    void printNewFindings();
    void print(const std::string& text) const { putLine(text); }

    const Settings& settings_;
    std::string name_;
    FollowedInput input_;
    Ref<SignalWatch> signals_ = Ref<SignalWatch>::make();
    bool ended_ = false;
    bool hasFormat_ = false; // the format was printed
    RecordingReader recording_;
    MeshModel mesh_;
    std::set<std::tuple<const FindingKind*, Integer, std::string>> printed_;
};

Inspection::Inspection(const Settings& settings)
    : settings_(settings),
      name_(settings.inspectFile == "-" ? "standard input" : settings.inspectFile.view()), recording_(name_) {
    recording_.line = [this](const TracedLine& line) { mesh_.add(line); };
    recording_.opened = [this] { mesh_.opened(); };
    signals_->caught = [this](int) { ended_ = true; };
}

void Inspection::read() {
    clocks::Nanoseconds due = 0;
    while (!ended_ && !terminal::isOutputGone()) {
        const FollowedInput::State state = input_.read();
        if (state == FollowedInput::State::failed)
            throw Failure{
                concat("cannot read ", settings_.inspectFile, ": ", input_.reason(), "; start again")};
        if (state == FollowedInput::State::ended)
            return;
        recording_.feed(input_.bytes());
        if (settings_.follow && clocks::monotonic() >= due) {
            printNewFindings();
            due = clocks::monotonic() + clocks::kSecond;
        }
        ConsoleApplication::DoEvents(0);
    }
}

void Inspection::printNewFindings() {
    if (!settings_.json && !hasFormat_ && recording_.lines() > 0) {
        hasFormat_ = true;
        print(name_ + ": " + recording_.format());
    }
    for (const Finding& each : findingsOf(mesh_, recording_))
        if (!each.kind->isFinal && printed_.emplace(each.kind, each.node, each.address).second)
            print(settings_.json ? findingJson(each) : findingText(each));
}

int Inspection::run() {
    if (!input_.open(settings_.inspectFile, settings_.follow))
        throw Failure{concat("cannot read ", settings_.inspectFile, ": ", input_.reason(),
                             "; name a recording, or - for standard input")};
    signals_->Open({SIGINT, SIGTERM, SIGHUP});
    read();
    recording_.finish();
    const std::vector<Finding> findings = findingsOf(mesh_, recording_);
    print((settings_.json ? jsonReport : textReport)(name_, recording_, mesh_, findings));
    return findings.empty() ? 0 : kWithFindings;
}

} // namespace

int runInspect(const Settings& settings) {
    return Inspection(settings).run();
}

} // namespace hearthix::sim
