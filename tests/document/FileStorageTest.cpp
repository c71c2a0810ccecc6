#include "runtime/Exceptions.hpp"
#include "tests/document/DocumentTest.hpp"
#include "tests/document/Faults.hpp"

#include <algorithm>
#include <csignal>
#include <regex>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace hearthix::testing {
namespace {

const char* const kCannotWrite = "unable to create disk file due to error. Database remains unchanged.";

class FileStorage : public DocumentTest {
protected:
    FileStorage() { faults::calls.clear(); }
    ~FileStorage() override { faults::failSync = faults::failExchange = false; }

    Ref<CXML> oldOne = node("", {{"a", "old"}}, {node("unit", {})});
    Ref<CXML> newOne = node("", {{"a", std::string(1'000'000, 'n')}});
    std::string oldBytes = plain(oldOne->SaveToString());
    std::string newBytes = plain(newOne->SaveToString());
};

// Keeps files from growing beyond a size while it lives, as a full disk does.
class FullDisk {
public:
    explicit FullDisk(rlim_t size) {
        getrlimit(RLIMIT_FSIZE, &before_);
        rlimit lowered = before_;
        lowered.rlim_cur = size;
        setrlimit(RLIMIT_FSIZE, &lowered);
        handler_ = std::signal(SIGXFSZ, SIG_IGN);
    }
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }

private:
    rlimit before_{};
    void (*handler_)(int);
};

TEST_F(FileStorage, MakesAndReplacesAFile) {
    EXPECT_TRUE(oldOne->SaveToFile(item("doc")));
    EXPECT_EQ(readFile(at("doc")), oldBytes);
    EXPECT_EQ(faults::calls, "sync ");
    faults::calls.clear();
    EXPECT_TRUE(newOne->SaveToFile(item("doc")));
    EXPECT_EQ(readFile(at("doc")), newBytes);
    EXPECT_EQ(faults::calls.substr(0, 14), "sync exchange ") << "on the disk before it takes the place";
    EXPECT_EQ(names(), "doc ");
    CXML again;
    again.loadFromFile(item("doc"), nullptr);
    EXPECT_EQ(textOf(again), textOf(*newOne));
    EXPECT_TRUE(logged.empty());
}

TEST_F(FileStorage, LeavesTheOldContentWhenTheNewCannotBeWritten) {
    writeFile(at("doc"), oldBytes);
    for (const bool fullDisk : {true, false})
        for (const char* name : {"doc", "other"}) {
            logged.clear();
            faults::failSync = !fullDisk;
            const FullDisk limit(fullDisk ? 300'000 : RLIM_INFINITY);
            EXPECT_THROW(newOne->SaveToFile(item(name)), RuntimeException);
            EXPECT_EQ(logged, std::vector<std::string>{kCannotWrite}) << name;
            EXPECT_EQ(readFile(at("doc")), oldBytes);
            EXPECT_EQ(names(), "doc ") << "no half a file stays";
        }
    EXPECT_EQ(faults::calls.find("exchange"), std::string::npos);
}

TEST_F(FileStorage, RaisesWhereNoFileCanBeMade) {
    EXPECT_THROW(oldOne->SaveToFile(item("no folder/doc")), RuntimeException);
    EXPECT_EQ(logged, std::vector<std::string>{kCannotWrite});
    EXPECT_THROW(oldOne->SaveToFile(Ref<FolderItem>::make("/")), NilObjectException);
    EXPECT_EQ(logged.size(), 1U);
}

TEST_F(FileStorage, KeepsBothWhenTheExchangeIsRefused) {
    writeFile(at("doc"), oldBytes);
    faults::failExchange = true;
    EXPECT_FALSE(newOne->SaveToFile(item("doc")));
    EXPECT_EQ(logged,
              std::vector<std::string>{"error swapping files while saving: database remains unchanged " +
                                       std::to_string(EINVAL)});
    EXPECT_EQ(readFile(at("doc")), oldBytes);
    ASSERT_TRUE(std::regex_match(names(), std::regex("[0-9]+_doc doc "))) << names();
    EXPECT_EQ(readFile(at(names().substr(0, names().find(' ')))), newBytes);
}

TEST_F(FileStorage, LoadsWhatItCan) {
    struct Case {
        std::string bytes;
        std::string text;
        std::string log;
    };
    const std::string nothing = "(0) value keys\n";
    const std::string notOurs = "file at: " + at("doc").string() + " is not an Hearthix binary.";
    std::string capitals = oldBytes;
    capitals.replace(0, 4, "KBDB");
    const Case cases[] = {
        {oldBytes, textOf(*oldOne), ""},
        {capitals, textOf(*oldOne), ""},
        {"", nothing, notOurs},
        {"Kbd", nothing, notOurs},
        {"just text", nothing, notOurs},
        {"KbdbB", nothing, "unable to load KDBD file: doc with message: "},
        {oldBytes.substr(0, oldBytes.size() - 5) + "x", textOf(*oldOne),
         "read error unable to get byte order"},
        {oldBytes.substr(0, oldBytes.size() - 7), textOf(*oldOne),
         "unable to load KDBD file: doc with message: "},
    };
    for (const Case& c : cases) {
        logged.clear();
        writeFile(at("doc"), c.bytes);
        CXML document;
        document.loadFromFile(item("doc"), nullptr);
        EXPECT_EQ(textOf(document), c.text) << c.bytes;
        EXPECT_EQ(logged, c.log.empty() ? std::vector<std::string>() : std::vector<std::string>{c.log})
            << c.bytes;
    }
    logged.clear();
    for (const char* name : {"none", "."})
        CXML().loadFromFile(item(name), nullptr);
    EXPECT_TRUE(logged.empty());
}

// The child saves two documents in turn until it is killed; whatever the moment, one of them is there.
TEST_F(FileStorage, HoldsAWholeDocumentAfterAKill) {
    for (int round = 0; round < 25; ++round) {
        int started[2];
        ASSERT_EQ(pipe(started), 0);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (int i = 0; i < 100'000; ++i) {
                (i % 2 == 0 ? oldOne : newOne)->SaveToFile(item("doc"));
                if (i == 0 && write(started[1], "x", 1) != 1)
                    _exit(1);
            }
            _exit(0);
        }
        char byte = 0;
        ASSERT_EQ(read(started[0], &byte, 1), 1);
        usleep(static_cast<useconds_t>(round * 397 % 5000));
        kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status)) << "it was to be killed while it saves";
        const std::string left = readFile(at("doc"));
        EXPECT_TRUE(left == oldBytes || left == newBytes)
            << "round " << round << ": " << left.size() << " bytes";
        close(started[0]);
        close(started[1]);
    }
}

} // namespace
} // namespace hearthix::testing
