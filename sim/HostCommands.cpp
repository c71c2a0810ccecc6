#include "sim/HostCommands.hpp"

#include "runtime/Numbers.hpp"
#include "runtime/StringFunctions.hpp"
#include "sim/Text.hpp"

#include <algorithm>

namespace hearthix::sim {

namespace {

// A common message tells its length in one byte, and its other fields take eleven.
constexpr std::size_t kMostRaw = 244;

} // namespace

const std::vector<HostCommands::Entry>& HostCommands::entries() {
    static const std::vector<Entry> kEntries{
        {"on", "ADDRESS", "switch a unit on", 1, &HostCommands::unitCommand, Needs::readyDriver},
        {"off", "ADDRESS", "switch a unit off", 1, &HostCommands::unitCommand, Needs::readyDriver},
        {"set", "ADDRESS VALUE", "set a unit's value", 2, &HostCommands::set, Needs::readyDriver},
        {"query", "ADDRESS", "ask a unit for its value", 1, &HostCommands::unitCommand, Needs::readyDriver},
        {"ping", "", "ask the driver for a sign of life", 0, &HostCommands::driverCommand, Needs::driver},
        {"debug", "on|off", "the driver's debug mode", 1, &HostCommands::debug, Needs::driver},
        {"raw", "TEXT", "a line for the gateway, as it stands", 1, &HostCommands::raw, Needs::readyDriver},
        {"q", "", "ask the driver to quit, as a controller packet", 0, &HostCommands::letter, Needs::driver},
        {"p", "", "the same by another letter", 0, &HostCommands::letter, Needs::driver},
        {"d", "", "toggle the driver's debug mode, as a controller packet", 0, &HostCommands::letter,
         Needs::driver},
        {"close", "", "ask the driver to close", 0, &HostCommands::driverCommand, Needs::driver},
        {"units", "", "the units; on a screen, the next page of them", 0, &HostCommands::units,
         Needs::nothing},
        {"help", "", "this list", 0, &HostCommands::showHelp, Needs::nothing},
        {"quit", "", "end the host, and the driver that it has started", 0, &HostCommands::quit,
         Needs::nothing}};
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
    else if (found->needs == Needs::driver && !host_.hasDriver())
        complain("no driver is connected yet");
    else if (found->needs == Needs::readyDriver && !host_.hasReadyDriver())
        complain("no driver is ready yet");
    else
        (this->*found->action)(words, line);
}

std::vector<String> HostCommands::help() {
    std::vector<String> lines;
    for (const Entry& each : entries()) {
        const std::string left = std::string(each.name) + " " + each.arguments;
        lines.emplace_back(padded(left, 18) + " " + each.help, TextEncoding::utf8);
    }
    return lines;
}

void HostCommands::unitCommand(const Words& words, const String&) {
    const char* word = words[0] == "on" ? "ON" : words[0] == "off" ? "OFF" : "Qery";
    host_.command(word, words[1]);
}

void HostCommands::set(const Words& words, const String&) {
    host_.command("SetValue", words[1], words[2]);
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
        complain(concat("a packet holds ", Str(static_cast<Integer>(kMostRaw - 1)), " bytes at most"));
    else
        host_.controller("X", text + "\n");
}

void HostCommands::units(const Words&, const String&) {
    host_.view().showUnits(host_.model());
}

void HostCommands::showHelp(const Words&, const String&) {
    for (const String& line : help())
        host_.view().note("help", line);
}

void HostCommands::quit(const Words&, const String&) {
    quit_();
}

} // namespace hearthix::sim
