// kbdb as a person runs it: what its page and KbdbSessions.md tell.
#include "tests/document/DocumentTest.hpp"

#include <cstdlib>

namespace hearthix::testing {
namespace {

class Kbdb : public DocumentTest {
protected:
    // What a shell's line says on either stream, in the test's folder, and its status when that is not 0.
    std::string run(const std::string& line) const {
        const std::string aside = folder.string() + ".";
        writeFile(aside + "sh", "KBDB='" KBDB_PROGRAM
                                "'\nkbdb() { timeout 60 $KBDB \"$@\"; }\nCOMPLETION='" COMPLETION
                                "'\nset -o pipefail\ncd " +
                                    folder.string() + "\n" + line + "\n");
        const std::string command = "LC_ALL=C.UTF-8 bash " + aside + "sh >" + aside + "out 2>&1";
        const int status = WEXITSTATUS(std::system(command.c_str()));
        const std::string said = readFile(aside + "out");
        for (const char* file : {"out", "sh"})
            std::filesystem::remove(aside + file);
        return said + (status == 0 ? "" : "[" + std::to_string(status) + "]\n");
    }

    // A session: each line behind "$ " and what is said under it. A line that ends in "..." goes on.
    void goThrough(const std::string& session) const {
        for (std::size_t at = 0, end = 0; at < session.size(); at = end) {
            end = std::min(session.find("\n$ ", at), session.size() - 1) + 1;
            const std::size_t head = session.find('\n', at);
            const std::string line = session.substr(at + 2, head - at - 2), said = run(line);
            EXPECT_PRED2(agrees, said, session.substr(head + 1, end - head - 1)) << line;
        }
    }
    static bool agrees(const std::string& said, const std::string& wanted) {
        std::istringstream lines(said), patterns(wanted);
        std::string line, pattern;
        while (std::getline(patterns, pattern)) {
            const bool open = pattern.ends_with("...");
            if (!std::getline(lines, line) ||
                (open ? !line.starts_with(pattern.substr(0, pattern.size() - 3)) : line != pattern))
                return false;
        }
        return !std::getline(lines, line);
    }

    // A document and what kbdb says of it.
    void lookAt(const std::string& kind, const std::string& bytes, const std::string& text) const {
        writeFile(at("document"), bytes);
        if (kind == "kbdb broken") {
            const std::string fault = text.substr(0, text.size() - 1) + ".";
            EXPECT_TRUE(run("kbdb check document").starts_with("kbdb: document: " + fault)) << text;
            return;
        }
        EXPECT_TRUE(run("kbdb check document").starts_with("document: sound; ")) << text;
        EXPECT_EQ(run("kbdb show document"), text);
        CXML document;
        EXPECT_FALSE(loadRaises(document, bytes));
        EXPECT_EQ(plain(document.SaveToString()) == bytes, kind == "kbdb written") << text;
    }
};

TEST_F(Kbdb, PagesAreTrue) {
    for (const char* page : {FORMAT_PAGE, SESSIONS}) {
        const std::vector<Block> blocks = blocksOf(page);
        for (std::size_t i = 0; i < blocks.size(); ++i)
            if (blocks[i].kind == "console")
                goThrough(blocks[i].text);
            else if (blocks[i].kind.starts_with("kbdb "))
                lookAt(blocks[i].kind, bytesOfLines(blocks[i].text), blocks.at(i + 1).text);
        EXPECT_GE(blocks.size(), 18U) << page;
    }
}

TEST_F(Kbdb, ShowsAnythingInBoundedText) {
    writeFile(at("d"), plain(nested(200'000)->SaveToString()));
    EXPECT_TRUE(run("kbdb check d").starts_with("d: sound; bytes: 5"));
    const std::string deep = run("kbdb show d");
    EXPECT_LT(deep.size(), 200'000U * 2 * 200);
    EXPECT_TRUE(deep.ends_with(std::string(64, ' ') + "[level 200001] k=v\n"));
    EXPECT_TRUE(run("kbdb show --json d").ends_with("]}]}]}\n"));
    EXPECT_EQ(run("truncate -s -9 d; kbdb repair d >&2; kbdb set d k v"),
              "d: repaired; the damaged file is kept as d.damaged\n");

    const Ref<CXML> wide = node("", {});
    wide->InsertContainer(node("unit", {{"Address", "01"}, {"long", std::string(200'000, 'x')}, {"a", "b"}}));
    for (int i = 0; i < 2000; ++i)
        wide->InsertContainer(node("unit", {{"Address", "02\r"}, {std::to_string(i), "v"}, {"a", "b"}}));
    writeFile(at("d"), plain(wide->SaveToString()));
    const std::string units = run("kbdb units d");
    EXPECT_LT(units.size(), 200'000U + 2000 * 100);
    EXPECT_NE(units.find("\n02\\x0D  7=v"), std::string::npos);
}

} // namespace
} // namespace hearthix::testing
