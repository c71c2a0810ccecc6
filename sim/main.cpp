// hearthix-sim: a stand-in host and a stand-in gateway, for seeing and trying the driver without either.
#include "log/Log.hpp"
#include "runtime/process/Console.hpp"
#include "runtime/process/ConsoleApplication.hpp"
#include "sim/Subcommands.hpp"
#include "sim/Text.hpp"

#include <algorithm>
#include <array>

namespace hearthix::sim {

namespace {

struct Subcommand {
    const CommandUsage& (*usage)();
    int (*run)(const std::vector<String>& words);
};

constexpr std::array<Subcommand, 4> kSubcommands{
    {{demoUsage, runDemo}, {soakUsage, runSoak}, {hostUsage, runHost}, {gatewayUsage, runGateway}}};

constexpr const char* kVersion = "hearthix-sim " HEARTHIX_VERSION;
constexpr const char* kHelp = "Usage: hearthix-sim COMMAND [OPTION]...\n\n"
                              "Stand-ins for what the Hearthix MySensors driver stands between.\n\n"
                              "Commands:\n"
                              "  demo     host, gateway and driver in one terminal\n"
                              "  soak     the same under mishaps, with a verdict\n"
                              "  host     a home-automation host that a driver connects to\n"
                              "  gateway  a MySensors gateway with a mesh of nodes\n\n"
                              "hearthix-sim COMMAND --help tells more; --version tells the version.";

bool asksFor(const std::vector<String>& words, std::string_view option) {
    return std::any_of(words.begin(), words.end(),
                       [option](const String& word) { return word.view() == option; });
}

int dispatch(std::vector<String> words) {
    const String name = words.empty() ? String() : words[0];
    if (name == "--version" || asksFor(words, "--version")) {
        Print(kVersion);
        return 0;
    }
    if (name == "--help" || name == "-h" || name == "help") {
        Print(kHelp);
        return 0;
    }
    if (name.empty())
        throw UsageError{
            "hearthix-sim needs a command: demo, soak, host or gateway; see hearthix-sim --help"};
    for (const Subcommand& each : kSubcommands) {
        if (name != each.usage().name)
            continue;
        words.erase(words.begin());
        if (!asksFor(words, "--help"))
            return each.run(words);
        Print(helpText(each.usage()));
        return 0;
    }
    throw UsageError{concat("hearthix-sim has no command '", name,
                            "': there are demo, soak, host and gateway; see hearthix-sim --help")};
}

// It may quote a file that somebody else wrote.
void complain(const String& sentence) {
    PrintError(String(printable(sentence), TextEncoding::utf8));
}

class SimApplication : public ConsoleApplication {
public:
    Integer Event_Run(const Array<String>& arguments) override {
        std::vector<String> words(arguments.begin() + 1, arguments.end());
        try {
            return dispatch(std::move(words));
        } catch (const UsageError& error) {
            complain(error.sentence);
            return 2;
        } catch (const Failure& error) {
            complain(error.sentence);
            return 1;
        }
    }
    bool Event_UnhandledException(const RuntimeException&) override { return false; }
};

} // namespace

} // namespace hearthix::sim

int main(int argc, char** argv) {
    hearthix::Log::toStandardError({});
    hearthix::sim::SimApplication application;
    return application.execute(argc, argv);
}
