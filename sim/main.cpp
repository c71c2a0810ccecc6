// hearthix-sim: a stand-in host and a stand-in gateway, to try the driver without the real ones.
//
// This file reads the command line into the settings of the subcommands.
#include "runtime/process/Console.hpp"
#include "runtime/process/ConsoleApplication.hpp"
#include "shell/log/Log.hpp"
#include "sim/Failure.hpp"
#include "sim/MeshFile.hpp"
#include "sim/Output.hpp"
#include "sim/Subcommands.hpp"
#include "sim/Text.hpp"

#include <cerrno>
#include <charconv>
#include <CLI/CLI.hpp>
#include <cstring>

namespace hearthix::sim {

namespace {

constexpr const char* kVersion = "hearthix-sim " HEARTHIX_VERSION;
constexpr double kLongest = 1e7; // seconds
constexpr double kMostPerSecond = 100'000;

String textOf(const std::string& text) {
    return String(std::string_view(text), TextEncoding::utf8);
}

CLI::Option* text(CLI::App& app, const char* name, const char* type, String& target, const char* help) {
    return app
        .add_option_function<std::string>(
            name, [&target](const std::string& given) { target = textOf(given); }, help)
        ->type_name(type);
}

CLI::Option* number(CLI::App& app, const char* name, const char* type, double lowest, double highest,
                    double& target, const char* help) {
    const auto isOutside = [lowest, highest](const std::string& given) {
        double value = 0;
        const auto [end, error] = std::from_chars(given.data(), given.data() + given.size(), value);
        const bool isNumber = error == std::errc() && end == given.data() + given.size();
        if (isNumber && value >= lowest && value <= highest)
            return std::string();
        return std::string(
            concat("not a number from ", Str(lowest), " to ", Str(highest), ": ", textOf(given)).view());
    };
    return app.add_option(name, target, help)->type_name(type)->check(isOutside);
}

// The port must be a whole number.
SocketAddress addressOf(const char* option, const std::string& given) {
    const std::size_t colon = std::min(given.rfind(':'), given.size());
    std::uint16_t port = 0;
    const auto [end, error] =
        std::from_chars(given.data() + std::min(colon + 1, given.size()), given.data() + given.size(), port);
    if (colon == 0 || error != std::errc() || end != given.data() + given.size())
        throw CLI::ValidationError(option, "write it as 192.168.1.20:5003, not '" + given + "'");
    return {textOf(given.substr(0, colon)), port};
}

CLI::Option* address(CLI::App& app, const char* name, const char* type, SocketAddress& target,
                     const char* help) {
    const auto read = [name, &target](const std::string& given) { target = addressOf(name, given); };
    return app.add_option_function<std::string>(name, read, help)->type_name(type);
}

void addFor(CLI::App& app, Settings& settings) {
    number(app, "--for", "SECONDS", 0.5, kLongest, settings.seconds,
           "end after so many seconds, at least 0.5");
}

void addPlayOptions(CLI::App& app, Settings& settings) {
    addFor(app, settings);
    text(app, "--driver", "PATH", settings.host.driver,
         "the driver; by default the one in the folder of this\nprogram, or otherwise in PATH");
    app.add_flag("--pty", settings.gateway.usePseudoTerminal,
                 "connect them by a serial line, a pseudo-terminal,\ninstead of TCP");
}

void addTrace(CLI::App& app, Settings& settings) {
    app.add_flag("--trace", settings.host.trace, "print every packet between host and driver");
}

CLI::Option* addMesh(CLI::App& app, Settings& settings) {
    GatewaySettings& gateway = settings.gateway;
    app.add_flag("--fragment", gateway.fragment, "send in small pieces");
    number(app, "--junk", "PERCENT", 0, 100, gateway.junk,
           "send a line of junk after this percentage of lines");
    return text(app, "--mesh", "FILE", settings.meshFile,
                "the nodes; a small house by default (see hearthix-sim\ngateway --help)");
}

CLI::Option* addRate(CLI::App& app, Settings& settings) {
    return number(app, "--rate", "N", 0.1, kMostPerSecond, settings.gateway.rate,
                  "send N reports a second instead of following the\nschedule of the mesh");
}

void describeDemo(CLI::App& app, Settings& settings) {
    addPlayOptions(app, settings);
    addMesh(app, settings);
    addRate(app, settings);
    addTrace(app, settings);
    app.footer("It ends at Ctrl-C, at quit, or when its time is over, with a summary; the exit status\n"
               "is 1 when something was lost. It reads the commands of hearthix-sim host from\n"
               "standard input, and sends some itself, but not in the minute after one of yours.");
}

void describeSoak(CLI::App& app, Settings& settings) {
    addPlayOptions(app, settings);
    addRate(app, settings);
    app.footer("The gateway sends pieces, junk or nothing, or hangs up; the host reads nothing, or hangs\n"
               "up; the driver is killed and started again. Every mishap happens at least once, the\n"
               "silences in a run of a minute or more. By default it takes 300 seconds, with 5000\n"
               "values in each. Ctrl-C ends it early. The exit status is 1 when a value or a command\n"
               "was lost that was not in flight at a driver's end, when the driver ended by itself, or\n"
               "when memory or open files grew.");
}

void describeHost(CLI::App& app, Settings& settings) {
    HostSettings& host = settings.host;
    address(app, "--listen", "ADDRESS:PORT", host.listen,
            "where drivers connect, 127.0.0.1:20300 by default;\nport 0 selects a free one");
    text(
        app, "--driver", "PATH", host.driver,
        "start this driver; by default, if a gateway is\nnamed, the one in this program's folder or in PATH");
    const auto serial = [&host](const std::string& name) { host.transport = {textOf(name)}; };
    CLI::Option* line = app.add_option_function<std::string>(
        "--serial", serial,
        "the driver's gateway is on this serial line: a path,\na name below /dev, or socket://HOST:PORT");
    const auto gateway = [&host](const std::string& given) {
        const SocketAddress place = addressOf("--gateway", given);
        host.transport = {place.host, Str(place.port)};
    };
    app.add_option_function<std::string>("--gateway", gateway, "the driver's gateway is at this TCP address")
        ->type_name("HOST:PORT")
        ->excludes(line->type_name("NAME"));
    text(app, "--id", "ID", host.connectionId, "the connection ID for the driver, SIM by default");
    app.add_flag("--restart", host.restart, "start the driver again when it ends");
    text(app, "--units", "FILE", host.unitsFile, "keep the units in this file");
    text(app, "--record", "FILE", settings.recordFile,
         "record every line between driver and gateway, for\nhearthix-sim gateway --replay");
    addTrace(app, settings);
    app.add_flag("--json", settings.json, "print one JSON object per line, for scripts");
    addFor(app, settings);
    app.add_option("--count", settings.count, "end after so many values, at least 1")
        ->type_name("N")
        ->check([](const std::string& given) {
            return ValInteger(textOf(given)) > 0 ? "" : "not a number from 1: " + given;
        });
    const auto until = [&settings](const std::string& given) {
        const std::size_t equals = given.find('=');
        settings.untilAddress = textOf(given.substr(0, equals));
        if (!isUnitAddress(settings.untilAddress))
            throw CLI::ValidationError("--until", "write the unit's address as 0C01.STATUS, not '" +
                                                      given.substr(0, equals) +
                                                      "'; hearthix-sim types lists the kinds");
        if (equals != std::string::npos)
            settings.untilValue = textOf(given.substr(equals + 1));
    };
    app.add_option_function<std::string>("--until", until, "end when this unit gets a value, or this value")
        ->type_name("ADDRESS[=VALUE]");
    app.parse_complete_callback([&host, &app] {
        for (const char* option : {"--driver", "--restart", "--record"})
            if (host.transport.empty() && app.count(option) > 0)
                throw CLI::RequiredError(std::string("with ") + option +
                                         ", --serial NAME or --gateway HOST:PORT");
    });
    app.footer("On a terminal the units are shown live. It ends with its driver, unless --restart is given.\n"
               "The exit status is 1 when the driver ended by itself, when the time was over before the\n"
               "values for --count or --until came, or when a line on standard input was not a command.\n"
               "Commands wait until the driver is ready, and reach the gateway in their order.\n"
               "Commands, one per line on standard input; help lists them:\n"
               "  on ADDRESS, off ADDRESS, set ADDRESS VALUE, query ADDRESS, ping, debug on|off,\n"
               "  raw TEXT, q, p, d, close, units, help, quit");
}

void describeGateway(CLI::App& app, Settings& settings) {
    GatewaySettings& gateway = settings.gateway;
    CLI::Option* tcp = address(app, "--tcp", "ADDRESS:PORT", gateway.listen,
                               "listen here, 127.0.0.1:5003 by default; port 0 selects\na free one");
    app.add_flag("--pty", gateway.usePseudoTerminal,
                 "provide a serial line, a pseudo-terminal; its path is\nprinted")
        ->excludes(tcp);
    const auto greets = [&gateway](std::int64_t times) { gateway.greet = times > 0; };
    app.add_flag_function(
        "--greet,!--no-greet", greets,
        "whether the gateway reports that it is ready as soon\nas a driver connects; by default not on "
        "TCP, where this\nwould end a driver that was started with IP");
    CLI::Option* mesh = addMesh(app, settings);
    CLI::Option* rate = addRate(app, settings);
    number(app, "--silent-after", "SECONDS", 0.1, kLongest, gateway.silentAfter,
           "stop sending so long after a connection was opened");
    number(app, "--drop-after", "SECONDS", 0.1, kLongest, gateway.dropAfter,
           "end the connection so long after it was opened");
    text(app, "--record", "FILE", gateway.recordFile, "record every line with its direction and time");
    text(app, "--replay", "FILE", settings.replayFile, "send the lines of such a file at their times")
        ->excludes(mesh)
        ->excludes(rate);
    app.footer(std::string(kMeshExample) + "\nCommands on standard input: quit");
}

void describeInspect(CLI::App& app, Settings& settings) {
    const auto file = [&settings](const std::string& name) { settings.inspectFile = textOf(name); };
    app.add_option_function<std::string>("FILE", file, "the recording; - or nothing for standard input");
    app.add_flag("--follow", settings.follow,
                 "continue while the file grows, print each finding at\nonce, and the description at Ctrl-C");
    app.add_flag("--json", settings.json, "print one JSON object, for scripts");
    app.footer("It reads what hearthix-sim host --record writes, trace-both files of ser2net, logs of tio\n"
               "with timestamps, and bare lines. The exit status is 0 without findings and 3 with some.");
}

// The meaning of the words depends on how the check reaches its host.
void describeCheckHost(CLI::App& app, Settings& settings) {
    CheckSettings& check = settings.check;
    text(app, "--driver", "PATH", check.program,
         "write a program to PATH, which the host must start as\nits driver, and check these starts");
    text(app, "--answers", "SCRIPT", check.answers,
         "let this shell script operate the host, instead of a\nperson");
    app.add_flag("--json", settings.json, "print the report as JSON");
    auto words = std::make_shared<std::vector<std::string>>();
    app.add_option("words", *words, "the host's address, and the connection ID, SIM by\ndefault")
        ->type_name("HOST:PORT [ID]");
    app.parse_complete_callback([&check, words] {
        for (const std::string& word : *words)
            check.words.push_back(textOf(word));
        if (!check.program.empty() || std::getenv("HEARTHIX_CHECK_PORT") != nullptr)
            return;
        if (words->empty() || words->size() > 2)
            throw CLI::RequiredError("HOST:PORT [ID], or --driver PATH");
        check.host = addressOf("HOST:PORT", words->front());
        if (words->size() > 1)
            check.connectionId = check.words[1];
    });
    app.footer("With --driver, the words after -- are a command that starts the host.\n"
               "The exit status is 0 when all rules were kept, 3 when some were broken, 4 when some were\n"
               "not seen. docs/host-link.md explains the rules.");
}

void describeTypes(CLI::App& app, Settings&) {
    app.footer("A unit's address ends in the suffix. Other types get the suffix UNKN and their number.");
}

struct Subcommand {
    const char* name;
    const char* summary;
    void (*describe)(CLI::App& app, Settings& settings);
    int (*run)(const Settings& settings);
};

constexpr std::array<Subcommand, 7> kSubcommands{
    {{"demo", "Shows a host, a gateway and the driver between them in one terminal.", describeDemo, runDemo},
     {"host", "Replaces the home-automation host: stores a driver's units and sends commands to them.",
      describeHost, runHost},
     {"gateway", "Replaces a MySensors gateway with a mesh of nodes.", describeGateway, runGateway},
     {"soak", "Runs the demo at high speed under mishaps, and reports whether anything was lost.",
      describeSoak, runSoak},
     {"inspect", "Describes the mesh that a recording shows, and reports its problems.", describeInspect,
      runInspect},
     {"check-host", "Acts as the driver for a host, and reports which rules of the host link it keeps.",
      describeCheckHost, runCheckHost},
     {"types", "Lists the variable types that the driver knows.", describeTypes, runTypes}}};

// The sentence may quote a file, so that control characters are replaced.
int complain(const String& sentence, int status) {
    PrintError(String(printable(sentence), TextEncoding::utf8));
    return status;
}

// A reader that closes its pipe early is not a failure. Any other loss of output is.
int finish(int status) {
    const int loss = outputLoss();
    if (loss == 0 || loss == EPIPE)
        return status;
    return complain(concat("standard output was lost: ", std::strerror(loss), "; check where it goes"), 1);
}

int run(int count, const char* const* words) {
    Settings settings;
    CLI::App app("A stand-in host and a stand-in gateway for the Hearthix MySensors driver.", "hearthix-sim");
    app.option_defaults()->take_last();
    app.require_subcommand(0, 1);
    app.set_version_flag("--version", kVersion, "print the version");
    app.footer("hearthix-sim COMMAND --help describes a command.");
    try {
        for (const Subcommand& each : kSubcommands) {
            CLI::App* command = app.add_subcommand(each.name, each.summary);
            command->set_version_flag("--version", kVersion, "print the version");
            each.describe(*command, settings);
        }
        app.parse(count, words);
        for (const Subcommand& each : kSubcommands)
            if (app.got_subcommand(each.name))
                return finish(each.run(settings));
        throw CLI::RequiredError::Subcommand(1);
    } catch (const CLI::CallForVersion&) {
        putLine(kVersion);
        return finish(0);
    } catch (const CLI::CallForHelp&) {
        putLine(app.help());
        return finish(0);
    } catch (const CLI::ParseError& error) {
        const std::vector<CLI::App*> asked = app.get_subcommands();
        const String name = asked.empty() ? "hearthix-sim" : "hearthix-sim " + textOf(asked[0]->get_name());
        return complain(concat(name, ": ", textOf(error.what()), "; see ", name, " --help"), 2);
    } catch (const Failure& error) {
        return complain(error.sentence, 1);
    }
    return 0;
}

class SimApplication : public ConsoleApplication {
public:
    SimApplication(int count, const char* const* words) : count_(count), words_(words) {}

    Integer Event_Run(const Array<String>&) override { return run(count_, words_); }
    bool Event_UnhandledException(const RuntimeException&) override { return false; }

private:
    int count_;
    const char* const* words_;
};

} // namespace

} // namespace hearthix::sim

int main(int argc, char** argv) {
    hearthix::Log::toStandardError({});
    hearthix::sim::SimApplication application(argc, argv);
    return application.execute(argc, argv);
}
