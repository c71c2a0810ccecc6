#include "sim/DriverStarts.hpp"

#include "runtime/process/ConsoleApplication.hpp"
#include "sim/Failure.hpp"
#include "sim/system/ChildProcess.hpp"
#include "sim/Waiting.hpp"

#include <csignal>
#include <filesystem>
#include <fstream>

namespace hearthix::sim {

namespace {

constexpr Integer kTurnMilliseconds = 20;
constexpr Integer kPatienceMilliseconds = 10'000;
// Ends the list of arguments.
constexpr const char* kEndOfArguments = "\x04";
constexpr const char* kDieByKill = "kill";

// The started program's end of the connection to the check.
class Control : public TCPSocket {
public:
    explicit Control(const String& greeting) : greeting_(greeting) {}
    String order;

private:
    void Event_Connected() override { Write(greeting_); }
    void Event_DataAvailable() override { order += ReadAll(); }
    void Event_Error(const RuntimeException&) override { order = "1"; } // the check is over

    String greeting_;
};

} // namespace

// The check's end of the connection to a started program.
class DriverStarts::Child : public TCPSocket {
public:
    String arguments;
    const clocks::Nanoseconds startedAt = clocks::monotonic();
    clocks::Nanoseconds endedAt = 0; // 0 while it is running

private:
    void Event_DataAvailable() override { arguments += ReadAll(); }
    void Event_Error(const RuntimeException&) override { endedAt = clocks::monotonic(); }
};

DriverStarts::DriverStarts() : listener_(Ref<ListeningSocket>::make()) {
    listener_->accepted = [this](int descriptor) {
        waiting_.push_back(Ref<Child>::make());
        waiting_.back()->adopt(descriptor);
    };
}

DriverStarts::~DriverStarts() {
    listener_->Close();
    if (path_.empty())
        return;
    std::error_code error;
    std::filesystem::remove(std::string(path_.view()), error);
}

void DriverStarts::writeProgram(const String& path) {
    const std::string name(path.view());
    std::error_code error;
    if (std::filesystem::exists(name, error))
        throw Failure{concat(path, " exists; name a new file with --driver PATH")};
    std::ofstream file(name);
    if (!listener_->Listen("127.0.0.1", 0) || !file)
        throw Failure{concat("cannot write ", path, "; name a file that can be written with --driver PATH")};
    path_ = path;
    file << "#!/bin/sh\nHEARTHIX_CHECK_PORT=" << listener_->Port() << " exec '" << ownExecutable().view()
         << "' check-host -- \"$@\"\n";
    file.close();
    std::filesystem::permissions(name, std::filesystem::perms(0755), error);
}

bool DriverStarts::takeNext() {
    if (waiting_.empty() || !waiting_.front()->arguments.view().ends_with(kEndOfArguments))
        return false;
    current_ = waiting_.front();
    waiting_.pop_front();
    return true;
}

String DriverStarts::argument(Integer index) const {
    const Array<String> words = Split(current_->arguments, "\n");
    return index < words.Ubound() ? words[index] : String();
}

clocks::Nanoseconds DriverStarts::startedAt() const {
    return current_->startedAt;
}

clocks::Nanoseconds DriverStarts::endedAt() const {
    return current_->endedAt;
}

bool DriverStarts::isRunning() const {
    return current_->endedAt == 0;
}

void DriverStarts::end(DriverEnd how) {
    current_->Write(how == DriverEnd::killed ? kDieByKill : how == DriverEnd::status1 ? "1" : "0");
    waitUntil([this] { return !isRunning(); }, kPatienceMilliseconds);
}

int runStartedDriver(const std::vector<String>& arguments, Integer port) {
    String greeting;
    for (const String& each : arguments)
        greeting += concat(each, "\n");
    greeting += kEndOfArguments;
    const auto control = Ref<Control>::make(greeting);
    control->Address = "127.0.0.1";
    control->Port = port;
    control->Connect();
    while (control->order.empty())
        ConsoleApplication::DoEvents(kTurnMilliseconds);
    if (control->order == kDieByKill)
        static_cast<void>(std::raise(SIGKILL));
    return static_cast<int>(ValInteger(control->order));
}

} // namespace hearthix::sim
