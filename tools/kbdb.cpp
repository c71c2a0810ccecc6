// kbdb: looks at document files and edits them.
#include "log/Log.hpp"
#include "runtime/process/Console.hpp"
#include "runtime/process/ConsoleApplication.hpp"
#include "runtime/text/StringFunctions.hpp"
#include "tools/KbdbFile.hpp"
#include "tools/KbdbReports.hpp"

#include <cctype>
#include <cerrno>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace hearthix {

namespace {

// The arguments behind the command: the file and what the command takes besides.
using Arguments = std::vector<std::string>;

const char* const kHelp = R"(kbdb looks at Kbdb document files and edits them.

usage: kbdb show FILE                  print all values and children
       kbdb check FILE                 tell whether the file is sound, and where it breaks if not
       kbdb units FILE                 list the units, and which node IDs are taken and free
       kbdb get FILE KEY               print a value of the root
       kbdb set FILE KEY VALUE         store a value at the root
       kbdb remove FILE KEY            remove a value of the root
       kbdb new FILE                   make an empty document
       kbdb add-unit FILE ADDRESS [KEY=VALUE...]
                                       add a unit, such as 0A03.TEMP
       kbdb remove-unit FILE ADDRESS   remove the units with this address
       kbdb --help                     print this text
       kbdb --version                  print the version

A file is replaced only by one that is complete and on the disk. A file that is not sound isn't edited.
Exit status: 0 fine, 1 bad file or failed operation, 2 bad use.)";

String textOf(const std::string& argument) {
    return String(argument, TextEncoding::utf8);
}

// Replaces the file by what edit makes of its document.
template <class Edit>
void editFile(const std::string& path, const Edit& edit) {
    const auto document = readSoundDocument(path);
    edit(*document);
    replaceKbdbFile(path, *document);
}

void requireKey(const CXML& document, const Arguments& given) {
    if (!document.ObjectExists(textOf(given[1])))
        throw KbdbFailure(given[0] + ": no value has the key \"" + given[1] +
                          "\". \"kbdb show\" lists the keys; case is ignored.");
}

void show(const Arguments& given) {
    const KbdbFile file = readKbdbFile(given[0]);
    if (!file.fault || file.census.documents > 0)
        reportTree(*file.document());
    if (file.fault)
        throw KbdbFailure(file.complaint());
}

void check(const Arguments& given) {
    const KbdbFile file = readKbdbFile(given[0]);
    if (file.fault)
        throw KbdbFailure(file.complaint());
    KbdbOutput::line(given[0] + ": sound; bytes: " + std::to_string(file.bytes.size()) +
                     ", documents: " + std::to_string(file.census.documents) + ", values: " +
                     std::to_string(file.census.values) + ", levels: " + std::to_string(file.census.deepest));
}

void units(const Arguments& given) {
    reportUnits(*readSoundDocument(given[0]));
}

void get(const Arguments& given) {
    const auto document = readSoundDocument(given[0]);
    requireKey(*document, given);
    KbdbOutput::line(std::string(document->GetStringValue(textOf(given[1])).view()));
}

void set(const Arguments& given) {
    editFile(given[0], [&](CXML& document) { document.SetStringValue(textOf(given[1]), textOf(given[2])); });
}

void remove(const Arguments& given) {
    editFile(given[0], [&](CXML& document) {
        requireKey(document, given);
        document.removeObject(textOf(given[1]));
    });
}

void makeNew(const Arguments& given) {
    makeKbdbFile(given[0], CXML());
}

std::vector<Ref<CXML>> unitsAt(const CXML& document, const std::string& address) {
    std::vector<Ref<CXML>> found = document.containersNamed("unit");
    std::erase_if(found, [&](const Ref<CXML>& unit) {
        return !unit->ObjectExists("Address") || unit->GetStringValue("Address") != textOf(address);
    });
    return found;
}

Ref<CXML> unitFrom(const Arguments& given) {
    const std::string& address = given[1];
    const auto isHex = [&](std::size_t at) {
        return std::isxdigit(static_cast<unsigned char>(address[at])) != 0;
    };
    if (address.size() < 2 || !isHex(0) || !isHex(1))
        throw KbdbFailure(
            "\"" + address +
                "\" is no address: it begins with two hexadecimal digits for the node, as in 0A03.TEMP.",
            KbdbFailure::kBadUse);
    auto unit = Ref<CXML>::make();
    unit->Name = "unit";
    unit->SetStringValue("Address", textOf(address));
    for (std::size_t i = 2; i < given.size(); ++i) {
        const std::size_t equals = given[i].find('=');
        const String key = textOf(given[i].substr(0, equals));
        if (equals == std::string::npos || unit->ObjectExists(key))
            throw KbdbFailure("\"" + given[i] + "\" is no KEY=VALUE, or its key is given twice.",
                              KbdbFailure::kBadUse);
        unit->SetStringValue(key, textOf(given[i].substr(equals + 1)));
    }
    return unit;
}

void addUnit(const Arguments& given) {
    const auto unit = unitFrom(given);
    editFile(given[0], [&](CXML& document) {
        if (!unitsAt(document, given[1]).empty())
            throw KbdbFailure(given[0] + ": the unit " + given[1] + " is there already. Remove it first.");
        document.InsertContainer(unit);
    });
}

void removeUnit(const Arguments& given) {
    editFile(given[0], [&](CXML& document) {
        const auto found = unitsAt(document, given[1]);
        if (found.empty())
            throw KbdbFailure(given[0] + ": no unit has the address \"" + given[1] +
                              "\". \"kbdb units\" lists them; case is ignored.");
        for (const auto& unit : found)
            document.removeContainer(unit);
    });
}

struct Command {
    const char* name;
    std::size_t fewest; // arguments, the file among them
    std::size_t most;
    void (*run)(const Arguments& given);
};

constexpr std::size_t kAnyCount = SIZE_MAX;

constexpr Command kCommands[] = {
    {"show", 1, 1, show},
    {"check", 1, 1, check},
    {"units", 1, 1, units},
    {"get", 2, 2, get},
    {"set", 3, 3, set},
    {"remove", 2, 2, remove},
    {"new", 1, 1, makeNew},
    {"add-unit", 2, kAnyCount, addUnit},
    {"remove-unit", 2, 2, removeUnit},
};

void run(const Arguments& words) {
    const std::string name = words.empty() ? "" : words[0];
    if (name == "--help")
        return KbdbOutput::line(kHelp);
    if (name == "--version")
        return KbdbOutput::line(std::string("kbdb ") + KBDB_VERSION);
    for (const Command& command : kCommands) {
        if (name != command.name)
            continue;
        const Arguments given(words.begin() + 1, words.end());
        if (given.size() < command.fewest || given.size() > command.most)
            throw KbdbFailure(name + " takes other arguments; \"kbdb --help\" tells which.",
                              KbdbFailure::kBadUse);
        return command.run(given);
    }
    throw KbdbFailure(name.empty() ? "Name a command; \"kbdb --help\" lists them."
                                   : "\"" + name + "\" is no command; \"kbdb --help\" lists them.",
                      KbdbFailure::kBadUse);
}

// A reader that has seen enough is no news to anybody; any other loss is.
int finishOutput(int status) {
    const int loss = KbdbOutput::finish();
    if (loss != 0 && loss != EPIPE)
        PrintError(concat("kbdb: standard output: text was lost: ",
                          textOf(std::generic_category().message(loss)), ". Look where it goes."));
    return loss != 0 ? KbdbFailure::kBadFile : status;
}

class Kbdb : public ConsoleApplication {
public:
    Integer Event_Run(const Array<String>& arguments) override {
        int status = 0;
        try {
            Arguments words;
            for (std::int64_t i = 1; i <= arguments.Ubound(); ++i)
                words.emplace_back(arguments[i].view());
            run(words);
        } catch (const KbdbFailure& failure) {
            status = complain(failure.what(), failure.status);
        } catch (const std::filesystem::filesystem_error& error) {
            status =
                complain(error.path1().string() + ": " + error.code().message() + ".", KbdbFailure::kBadFile);
        }
        return finishOutput(status);
    }
    bool Event_UnhandledException(const RuntimeException&) override { return false; }

private:
    static int complain(const std::string& sentence, int status) {
        PrintError(concat("kbdb: ", textOf(sentence)));
        return status;
    }
};

} // namespace
} // namespace hearthix

int main(int argc, char** argv) {
    hearthix::Log::toStandardError("kbdb: ");
    hearthix::Kbdb kbdb;
    return kbdb.execute(argc, argv);
}
