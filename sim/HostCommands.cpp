#include "sim/HostCommands.hpp"

#include "runtime/text/Numbers.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "sim/system/ConsoleInput.hpp"
#include "sim/Text.hpp"

#include <algorithm>

namespace hearthix::sim {

namespace {

// The length of a common message is stored in one byte, and its other fields need eleven bytes.
constexpr std::size_t kMostRaw = 244;
constexpr std::size_t kMostWaiting = 100'000;

const std::vector<std::string> kHelp{"on ADDRESS, off ADDRESS, set ADDRESS VALUE: command a unit",
                                     "query ADDRESS: ask a unit's node for its value",
                                     "ping, close, debug on|off: commands to the driver",
                                     "q, p, d: quit, quit, toggle debug, as controller packets",
                                     "raw TEXT: a line that the driver passes on to the gateway",
                                     "units: all units, or the next page; quit: end everything"};

} // namespace

HostCommands::HostCommands(Host& host, std::function<void()> quit) : host_(host), quit_(std::move(quit)) {
    host_.driverProgressed = [this] { runWaiting(); };
}

const std::vector<HostCommands::Entry>& HostCommands::entries() {
    static const std::vector<Entry> kEntries{
        {"on", "ADDRESS", 1, &HostCommands::unitCommand, Needs::readyDriver},
        {"off", "ADDRESS", 1, &HostCommands::unitCommand, Needs::readyDriver},
        {"set", "ADDRESS VALUE", 2, &HostCommands::set, Needs::readyDriver},
        {"query", "ADDRESS", 1, &HostCommands::unitCommand, Needs::readyDriver},
        {"ping", "", 0, &HostCommands::driverCommand, Needs::driver},
        {"debug", "on|off", 1, &HostCommands::debug, Needs::driver},
        {"raw", "TEXT", 1, &HostCommands::raw, Needs::readyDriver},
        {"q", "", 0, &HostCommands::letter, Needs::driver},
        {"p", "", 0, &HostCommands::letter, Needs::driver},
        {"d", "", 0, &HostCommands::letter, Needs::driver},
        {"close", "", 0, &HostCommands::driverCommand, Needs::driver},
        {"units", "", 0, &HostCommands::units, Needs::nothing},
        {"help", "", 0, &HostCommands::showHelp, Needs::nothing},
        {"quit", "", 0, &HostCommands::quit, Needs::nothing}};
    return kEntries;
}

void HostCommands::run(const String& line) {
    const Words words = wordsOf(line);
    if (words.empty())
        return;
    const auto found = std::find_if(entries().begin(), entries().end(),
                                    [&words](const Entry& each) { return words[0] == each.name; });
    if (found == entries().end())
        complain(concat("there is no command '", words[0], "'; help lists them all"));
    else if (words.size() - 1 < found->count)
        complain(concat("use it as: ", found->name, " ", found->arguments));
    else if (waiting_.size() >= kMostWaiting)
        complain(concat("dropped, because too many commands wait for the driver: ", line));
    else if (canRun(*found) && (waiting_.empty() || ConsoleInput::isTerminal()))
        (this->*found->action)(words, line);
    else
        waiting_.emplace_back(&*found, line);
}

void HostCommands::complain(const String& text) {
    refused_ = true;
    host_.view().note("help", text);
}

String HostCommands::failure() const {
    if (ConsoleInput::isTerminal())
        return {};
    if (refused_)
        return "not every line on standard input was a command; the lines marked help give the reasons";
    if (!waiting_.empty())
        return concat(Str(static_cast<Integer>(waiting_.size())),
                      " commands on standard input were not sent, because the driver was not ready for them");
    return {};
}

bool HostCommands::canRun(const Entry& entry) const {
    return entry.needs == Needs::nothing ||
           (entry.needs == Needs::driver ? host_.hasDriver() : host_.hasReadyDriver() && host_.isInOrder());
}

void HostCommands::runWaiting() {
    while (!waiting_.empty() && canRun(*waiting_.front().first)) {
        const Entry& entry = *waiting_.front().first;
        const String line = waiting_.front().second;
        waiting_.pop_front();
        (this->*entry.action)(wordsOf(line), line);
    }
}

void HostCommands::unitCommand(const Words& words, const String&) {
    const char* word = words[0] == "on" ? "ON" : words[0] == "off" ? "OFF" : "Qery";
    host_.command(word, words[1]);
}

// The value is the rest of the line, or the text in quotes.
void HostCommands::set(const Words& words, const String& line) {
    const Integer start = InStrB(1, line, words[1]) + LenB(words[1]) + 1;
    host_.command("SetValue", words[1], words.size() == 3 ? words[2] : Trim(MidB(line, start)));
}

void HostCommands::driverCommand(const Words& words, const String&) {
    host_.control(words[0] == "ping" ? "ping" : "close");
}

void HostCommands::debug(const Words& words, const String&) {
    if (words[1] == "on" || words[1] == "off")
        host_.control("debug", words[1] == "on" ? "true" : "false");
    else
        complain("use it as: debug on|off");
}

void HostCommands::letter(const Words& words, const String&) {
    for (const char* each : {"Q", "P", "D"})
        if (words[0] == each)
            host_.controller(each);
}

void HostCommands::raw(const Words& words, const String& line) {
    const Integer start = InStrB(1, line, words[0]) + LenB(words[0]) + 1;
    const String text = Trim(MidB(line, start));
    if (text.size() + 1 > kMostRaw)
        complain(concat("TEXT can have ", Str(static_cast<Integer>(kMostRaw - 1)), " bytes at most"));
    else
        host_.controller("X", text + "\n");
}

void HostCommands::units(const Words&, const String&) {
    host_.view().showUnits(host_.model());
}

void HostCommands::showHelp(const Words&, const String&) {
    host_.view().showHelp(kHelp);
}

void HostCommands::quit(const Words&, const String&) {
    quit_();
}

} // namespace hearthix::sim
