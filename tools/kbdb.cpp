// kbdb: shows, checks and edits document files.
#include "runtime/process/Console.hpp"
#include "runtime/process/ConsoleApplication.hpp"
#include "tools/KbdbFile.hpp"
#include "tools/KbdbJson.hpp"
#include "tools/KbdbOutput.hpp"
#include "tools/KbdbPath.hpp"
#include "tools/KbdbReports.hpp"

#include <algorithm>
#include <cerrno>
#include <CLI/CLI.hpp>
#include <filesystem>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

namespace hearthix {

namespace {

// The arguments; those that a command does not use are empty.
struct Request {
    std::string file;
    std::string path;                // of a value, see KbdbPath
    std::string value;               // to store
    std::string address;             // of a unit
    std::vector<std::string> values; // of a new unit, each as KEY=VALUE
    bool json = false;
};

String textOf(const std::string& argument) {
    return String(argument, TextEncoding::utf8);
}

// Reports on a document as far as it can be read.
template <class Report>
void readFile(const std::string& path, const Report& report) {
    const KbdbFile file = readKbdbFile(path);
    if (const auto document = file.readable())
        report(document);
    if (file.fault)
        throw KbdbFailure(file.complaint());
}

// Edits the document of a file.
template <class Edit>
void editFile(const std::string& path, const Edit& edit) {
    const auto document = readSoundDocument(path);
    edit(document);
    replaceKbdbFile(path, *document);
}

Ref<CXML> nodeWith(const Request& request, const KbdbPath& path, const Ref<CXML>& root) {
    auto node = path.nodeIn(root);
    if (!node->ObjectExists(path.key))
        throw KbdbFailure(request.file + ": no value has the key \"" + request.path +
                          "\". \"kbdb show\" lists the keys; case is ignored.");
    return node;
}

Ref<CXML> unitFrom(const Request& request) {
    const std::string& address = request.address;
    if (address.size() < 2 || address.find_first_not_of("0123456789ABCDEFabcdef") < 2)
        throw KbdbFailure(
            "\"" + address +
                "\" is no address: it begins with two hexadecimal digits for the node, as in 0A03.TEMP.",
            KbdbFailure::kBadUse);
    auto unit = Ref<CXML>::make();
    unit->Name = "unit";
    unit->SetStringValue("Address", textOf(address));
    for (const std::string& pair : request.values) {
        const std::size_t equals = pair.find('=');
        const String key = textOf(pair.substr(0, equals));
        if (equals == std::string::npos || unit->ObjectExists(key))
            throw KbdbFailure("\"" + pair + "\" is no KEY=VALUE, or its key is given twice.",
                              KbdbFailure::kBadUse);
        unit->SetStringValue(key, textOf(pair.substr(equals + 1)));
    }
    return unit;
}

void showDocument(const Request& request) {
    readFile(request.file, [&](const Ref<CXML>& document) {
        request.json ? reportTreeAsJson(*document) : reportTree(*document);
    });
}

void showUnits(const Request& request) {
    readFile(request.file, [&](const Ref<CXML>& document) {
        request.json ? reportUnitsAsJson(*document) : reportUnits(*document);
    });
}

// Other programs get the exact bytes; a terminal could execute some of them as commands.
void showValue(const Request& request) {
    const KbdbPath path(request.path);
    readFile(request.file, [&](const Ref<CXML>& document) {
        const String text = nodeWith(request, path, document)->GetStringValue(path.key);
        if (request.json)
            return reportTextAsJson(text);
        KbdbOutput::line(KbdbOutput::isTerminal() ? printable(text) : std::string(text.view()));
    });
}

void checkDocument(const Request& request) {
    const KbdbFile file = readKbdbFile(request.file);
    if (request.json)
        reportCheckAsJson(file);
    if (file.fault)
        throw KbdbFailure(file.complaint());
    if (!request.json)
        KbdbOutput::line(printable(file.name) + ": sound; bytes: " + std::to_string(file.bytes.size()) +
                         ", documents: " + std::to_string(file.census.documents) +
                         ", values: " + std::to_string(file.census.values) +
                         ", levels: " + std::to_string(file.census.deepest));
}

void setValue(const Request& request) {
    const KbdbPath path(request.path);
    editFile(request.file, [&](const Ref<CXML>& document) {
        path.nodeIn(document)->SetStringValue(path.key, textOf(request.value));
    });
}

void removeValue(const Request& request) {
    const KbdbPath path(request.path);
    editFile(request.file,
             [&](const Ref<CXML>& document) { nodeWith(request, path, document)->removeObject(path.key); });
}

void addUnit(const Request& request) {
    const auto unit = unitFrom(request);
    editFile(request.file, [&](const Ref<CXML>& document) {
        if (!unitsAt(*document, request.address).empty())
            throw KbdbFailure(request.file + ": the unit " + request.address +
                              " is there already. Remove it first.");
        document->InsertContainer(unit);
    });
}

void removeUnit(const Request& request) {
    editFile(request.file, [&](const Ref<CXML>& document) {
        const auto found = unitsAt(*document, request.address);
        if (found.empty())
            throw KbdbFailure(request.file + ": no unit has the address \"" + request.address +
                              "\". \"kbdb units\" lists them; case is ignored.");
        for (const auto& unit : found)
            document->removeContainer(unit);
    });
}

void makeDocument(const Request& request) {
    makeKbdbFile(request.file, CXML());
}

void repairDocument(const Request& request) {
    const KbdbFile file = readKbdbFile(request.file);
    const auto document = file.readable();
    if (!document)
        throw KbdbFailure(file.complaint());
    if (request.file == kKbdbPipe)
        return replaceKbdbFile(request.file, *document);
    if (!file.fault)
        return KbdbOutput::line(printable(file.name) + ": sound, and left as it is");
    const std::string kept = request.file + ".damaged";
    replaceKbdbFile(request.file, *document, kept);
    KbdbOutput::line(printable(file.name) + ": repaired; the damaged file is kept as " + printable(kept));
}

const char* const kFooter =
    R"(FILE may be -: the document is read from standard input, and goes to standard output where it is edited.
A PATH is the key of a value, behind the steps to its node: Name, or unit[3]/Name, or 0A03.TEMP/Name, where the
step is a unit's address. A backslash goes ahead of a slash or bracket that is part of a name, and the word --
ahead of words that begin with a dash.
A file is replaced only by one that is complete and on the disk. A file that is not sound isn't edited.
Exit status: 0 fine, 1 bad file or failed operation, 2 bad use.)";

class CommandLine {
public:
    CommandLine() {
        const Word path{"PATH", &request_.path, "of the value"};
        const Word address{"ADDRESS", &request_.address, "of the unit, such as 0A03.TEMP"};
        app_.set_version_flag("--version", std::string("kbdb ") + KBDB_VERSION);
        app_.require_subcommand(1);
        app_.footer(kFooter);
        for (CLI::App* reading :
             {add("show", "Print all values and children", showDocument),
              add("check", "Check whether the file is sound, and report the first fault", checkDocument),
              add("units", "List the units, and which node IDs are taken, free and next", showUnits),
              add("get", "Print a value", showValue, {path})})
            reading->add_flag("--json", request_.json, "Print JSON");
        add("set", "Store a value", setValue, {path, {"VALUE", &request_.value, "to store"}});
        add("remove", "Remove a value", removeValue, {path});
        add("new", "Make an empty document", makeDocument);
        // The values are read as extra arguments, because the library interprets brackets in a list option.
        add("add-unit", "Add a unit", addUnit, {address})
            ->allow_extras()
            ->add_option("VALUES", "KEY=VALUE, any number of them")
            ->expected(0, -1)
            ->allow_extra_args(false)
            ->option_text(" ");
        add("remove-unit", "Remove the units with this address", removeUnit, {address});
        add("repair", "Replace a damaged file by what can be read, and keep it beside that", repairDocument);
    }

    // Parses the arguments and carries out the command.
    void run(std::vector<std::string> words) {
        std::reverse(words.begin(), words.end()); // the order that the library expects
        try {
            app_.parse(std::move(words));
        } catch (const CLI::ParseError& error) {
            std::ostringstream text;
            if (app_.exit(error, text, text) == 0)
                return KbdbOutput::raw(text.str());
            const auto unknown = app_.remaining(true);
            throw KbdbFailure((unknown.empty() ? error.what() : "\"" + unknown[0] + "\" was not expected") +
                                  ". \"kbdb --help\" shows the usage.",
                              KbdbFailure::kBadUse);
        }
    }

private:
    struct Word {
        const char* name;
        std::string* place;
        const char* help;
    };

    CLI::App* add(const char* name, const char* help, void (*action)(const Request&),
                  std::initializer_list<Word> words = {}) {
        CLI::App* command = app_.add_subcommand(name, help);
        command->add_option("FILE", request_.file, "with the document, or -")->required()->option_text(" ");
        for (const Word& word : words)
            command->add_option(word.name, *word.place, word.help)->required()->option_text(" ");
        command->final_callback([this, command, action] {
            request_.values = command->remaining();
            action(request_);
        });
        return command;
    }

    CLI::App app_{"kbdb looks at Kbdb document files and edits them.", "kbdb"};
    Request request_;
};

class Kbdb : public ConsoleApplication {
public:
    Integer Event_Run(const Array<String>& arguments) override {
        std::vector<std::string> words;
        for (std::int64_t i = 1; i <= arguments.Ubound(); ++i)
            words.emplace_back(arguments[i].view());
        try {
            CommandLine().run(std::move(words));
        } catch (const KbdbFailure& failure) {
            return finish(failure.what(), failure.status);
        } catch (const std::filesystem::filesystem_error& error) {
            return finish(error.path1().string() + ": " + error.code().message() + ".",
                          KbdbFailure::kBadFile);
        }
        return finish("", 0);
    }
    bool Event_UnhandledException(const RuntimeException&) override { return false; }

private:
    static void complain(const std::string& sentence) {
        PrintError(String("kbdb: " + printable(sentence), TextEncoding::utf8));
    }
    // Prints messages after the output. A reader that closes its pipe early is no failure.
    static int finish(const std::string& complaint, int status) {
        const int loss = KbdbOutput::finish();
        if (!complaint.empty())
            complain(complaint);
        if (loss != 0 && loss != EPIPE)
            complain("standard output: text was lost: " + std::generic_category().message(loss) +
                     ". Look where it goes.");
        return status == 0 && loss != 0 ? KbdbFailure::kBadFile : status;
    }
};

} // namespace
} // namespace hearthix

int main(int argc, char** argv) {
    hearthix::KbdbOutput::begin();
    hearthix::Kbdb kbdb;
    return kbdb.execute(argc, argv);
}
