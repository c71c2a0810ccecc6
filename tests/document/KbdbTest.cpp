// kbdb as a person runs it, and the page that describes the format.
#include "tests/document/DocumentTest.hpp"

#include <cstdlib>

namespace hearthix::testing {
namespace {

class Kbdb : public DocumentTest {
protected:
    struct Run {
        std::string status; // as the shell tells it
        std::string output;
        std::string complaint;
    };
    // In the test's folder. The output goes to a file, or where the shell's redirection says.
    Run run(const std::string& words, const std::string& redirection = "") const {
        const std::string aside = folder.string() + ".";
        std::string command = "cd " + folder.string() + "; { timeout 60 " KBDB_PROGRAM " " + words;
        command += " 2>" + aside + "err; echo $? >" + aside + "status; } ";
        command += redirection.empty() ? ">" + aside + "out" : redirection;
        EXPECT_GE(std::system(command.c_str()), 0);
        const Run done{readFile(aside + "status").substr(0, 1), readFile(aside + "out"),
                       readFile(aside + "err")};
        for (const char* file : {"out", "err", "status"})
            std::filesystem::remove(aside + file);
        return done;
    }

    // A command and its outcome: the status, a blank, and the output or words of the complaint.
    struct Step {
        std::string command;
        std::string outcome = "0 ";
    };
    void tell(const std::vector<Step>& story) const {
        for (const auto& [command, outcome] : story) {
            const Run done = run(command);
            const bool fine = outcome[0] == '0';
            const std::string text = outcome.substr(2);
            const std::string& said = fine ? done.output : done.complaint;
            EXPECT_EQ(done.status, outcome.substr(0, 1)) << command << done.complaint;
            EXPECT_EQ(done.complaint.empty(), fine) << command << done.complaint;
            EXPECT_TRUE(fine ? said == text : said.find(text) != said.npos) << said << " instead of " << text;
        }
    }
};

TEST_F(Kbdb, EditsADocument) {
    const std::string units =
        "0A03.TEMP    Name=Kitchen  Value=21.5\n0103.V_LONG  Name=a=b      Value=\n0b00.HUM\nFE00.HUM\n"
        "units: 4\nnode IDs taken: 4: 1, 10-11, 254\nnode IDs free: 250: 2-9, 12-253\n";
    const std::string shown =
        "(1) value keys\n    Name=K\u00fcche\n    Container: unit (3) value keys\n        "
        "Address=0103.V_LONG\n"
        "        Name=a=b\n        Value=\n    Container: unit (1) value keys\n        Address=0b00.HUM\n";
    tell({Step{"new d"}, Step{"new d", "1 kbdb: d: is there already. "},
          Step{"check d", "0 d: sound; bytes: 9, documents: 1, values: 0, levels: 1\n"},
          Step{"set d Name 'K\u00fcche'"}, Step{"set d gone x"}, Step{"remove d GONE"},
          Step{"remove d gone", "1 kbdb: d: no value has the key \"gone\". "},
          Step{"get d gone", "1 kbdb: d: no value has the key \"gone\". "},
          Step{"get d NAME", "0 K\u00fcche\n"}, Step{"add-unit d 0A03.TEMP Name=Kitchen Value=21.5"},
          Step{"add-unit d 0103.V_LONG Name=a=b Value="}, Step{"add-unit d 0b00.HUM"},
          Step{"add-unit d FE00.HUM"},
          Step{"add-unit d 0a03.temp", "1 kbdb: d: the unit 0a03.temp is there already. "},
          Step{"units d", "0 " + units}, Step{"remove-unit d 0a03.temp"},
          Step{"remove-unit d 0A03.TEMP", "1 kbdb: d: no unit has the address \"0A03.TEMP\". "},
          Step{"remove-unit d FE00.HUM"}, Step{"show d", "0 " + shown}});
    EXPECT_EQ(names(), "d ");
}

TEST_F(Kbdb, TellsBadUseFromBadFiles) {
    std::filesystem::create_directory(at("folder"));
    tell({Step{"", "2 kbdb: Name a command; "}, Step{"sow d", "2 kbdb: \"sow\" is no command; "},
          Step{"show", "2 kbdb: show takes other arguments; "},
          Step{"add-unit d kitchen", "2 kbdb: \"kitchen\" is no address"},
          Step{"add-unit d 0", "2 kbdb: \"0\" is no address"},
          Step{"add-unit d 0A03.TEMP Name", "2 kbdb: \"Name\" is no KEY=VALUE"},
          Step{"add-unit d 0A03.TEMP address=0B", "2 its key is given twice."},
          Step{"show none", "1 kbdb: none: there is no such file. "},
          Step{"check folder", "1 kbdb: folder: not a regular file. "},
          Step{"new 'no folder/d'", "1 no folder/d: its folder doesn't exist. "}});
    for (const char* word : {"--help", "--version"})
        EXPECT_TRUE(run(word).output.starts_with("kbdb ")) << word;
}

TEST_F(Kbdb, FindsTheFirstFault) {
    using Case = std::pair<std::string, const char*>;
    const std::string header = "4B 62 64 62 41 4C 20 20";
    const std::string child = "4F 01000000 63" + header;
    const Case faults[] = {
        Case{"", "byte 0: the file does not begin with the letters \"Kbdb\". "},
        Case{"4B626462 424C2020 45", "byte 4: the format's version is 42"},
        Case{"4B626462 41002020 45", "byte 5: the byte order mark is 00"},
        Case{"4B626462 414C20", "byte 7: the file ends inside a document's header"},
        Case{header, "byte 8: 1 end tag is missing. If only the end is lost, add the letter E 1 time"},
        Case{header + "56 02000000 61", "byte 9: the length of a key is 2, but only 1 byte is left"},
        Case{header + "4F 01000000 63 4B45", "byte 14: a child does not begin"},
        Case{header + "45 0A0A",
             "byte 9: 2 bytes follow the end of the document. If nothing needs that, cut the file to 9"},
        // The child's mark stays in force, so the root's next length is no longer 1.
        Case{header + "4F 01000000 63 4B626462 41422020 45 56 01000000 61 01000000 61 45",
             "byte 24: the length of a key is 16777216"}};
    for (const auto& [hex, fault] : faults) {
        writeFile(at("d"), bytesOf(hex));
        tell({{"check d", std::string("1 kbdb: d: ") + fault}});
    }
    const std::string last = readFile(at("d"));
    for (const char* command : {"units d", "set d k v", "add-unit d 0A"})
        tell({{command, "1 kbdb: d: byte 24: "}});
    EXPECT_EQ(readFile(at("d")), last) << "edited";
    for (const std::string& sound :
         {std::string("4B424442 30423031 45"), header + child + child + "45 45 56 00000000 00000000 45"}) {
        writeFile(at("d"), bytesOf(sound));
        EXPECT_EQ(run("check d").status, "0") << sound;
    }
    const std::string whole = plain(node("", {{"a", "1"}}, {node("unit", {})})->SaveToString());
    writeFile(at("d"), whole.substr(0, 30));
    const Run half = run("show d");
    EXPECT_EQ(half.output, "(1) value keys\n    a=1\n    Container: unit (0) value keys\n");
    EXPECT_TRUE(half.complaint.starts_with("kbdb: d: byte 30: "));
}

TEST_F(Kbdb, ShowsAnythingInBoundedText) {
    writeFile(at("d"), plain(nested(200'000)->SaveToString()));
    EXPECT_TRUE(run("check d").output.starts_with("d: sound; bytes: 5"));
    const std::string deep = run("show d").output;
    EXPECT_LT(deep.size(), 200'000U * 2 * 200);
    EXPECT_TRUE(deep.ends_with(std::string(64, ' ') + "[level 200001] k=v\n"));
    EXPECT_EQ(run("set d k v").status, "0");
    EXPECT_NE(run("show d", ">/dev/full").complaint.find("text was lost"), std::string::npos);

    const Ref<CXML> wide = node("", {{"k", "\x1B[31m\x7F\xC2\x9B\n"}});
    wide->InsertContainer(node("unit", {{"Address", "01"}, {"long", std::string(200'000, 'x')}, {"a", "b"}}));
    for (int i = 0; i < 2000; ++i)
        wide->InsertContainer(node("unit", {{"Address", "02\r"}, {std::to_string(i), "v"}, {"a", "b"}}));
    writeFile(at("d"), plain(wide->SaveToString()));
    EXPECT_TRUE(run("show d").output.starts_with("(1) value keys\n    k=\\x1B[31m\\x7F\\xC2\\x9B\\x0A\n"));
    const std::string units = run("units d").output;
    EXPECT_LT(units.size(), 200'000U + 2000 * 100);
    EXPECT_NE(units.find("\n02\\x0D  7=v"), std::string::npos);
}

// Each document of the page has a text behind it: what kbdb says of it.
TEST_F(Kbdb, ThePageOfTheFormatIsTrue) {
    const std::vector<Block> blocks = blocksOf(FORMAT_PAGE);
    int documents = 0;
    for (std::size_t i = 0; i + 1 < blocks.size(); ++i) {
        const auto& [kind, lines] = blocks[i];
        if (!kind.starts_with("kbdb "))
            continue;
        ++documents;
        const std::string bytes = bytesOfLines(lines), text = blocks[i + 1].text;
        writeFile(at("d"), bytes);
        if (kind == "kbdb broken") {
            tell({{"check d", "1 kbdb: d: " + text.substr(0, text.size() - 1) + ". "}});
            continue;
        }
        EXPECT_EQ(run("check d").status, "0") << text;
        tell({{"show d", "0 " + text}});
        CXML document;
        EXPECT_FALSE(loadRaises(document, bytes));
        EXPECT_EQ(plain(document.SaveToString()) == bytes, kind == "kbdb written") << text;
    }
    EXPECT_GE(documents, 9);
}

} // namespace
} // namespace hearthix::testing
