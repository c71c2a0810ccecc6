#include "runtime/values/Exceptions.hpp"
#include "tests/document/DocumentTest.hpp"

#include <cerrno>
#include <csignal>
#include <cstring>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace hearthix::testing {
namespace {

using Lines = std::vector<std::string>;
const std::string kCannotWrite = "unable to create disk file due to error. Database remains unchanged.";

class FileStorage : public DocumentTest {
protected:
    Ref<CXML> oldOne = node("", {{"a", "old"}}, {node("unit", {})});
    Ref<CXML> newOne = node("", {{"a", std::string(1'000'000, 'n')}});
    std::string oldBytes = plain(oldOne->SaveToString());
    std::string newBytes = plain(newOne->SaveToString());
};

TEST_F(FileStorage, MakesAndReplacesAFile) {
    for (const bool spared : {false, true}) { // whether the system makes files without a name
        failAccess = spared;
        calls.clear();
        EXPECT_TRUE(oldOne->SaveToFile(item("doc")));
        EXPECT_EQ(readFile(at("doc")), oldBytes);
        takenNames = 3;
        EXPECT_TRUE(newOne->SaveToFile(item("doc")));
        EXPECT_EQ(readFile(at("doc")), newBytes);
        EXPECT_EQ(calls, spared ? "sync sync sync exchange sync "
                                : "sync name sync sync name name name name exchange sync ")
            << "file, folder; file, and only then the change";
        EXPECT_EQ(names(), "doc ");
        EXPECT_EQ(logged, Lines{});
        std::filesystem::remove(at("doc"));
    }
}

TEST_F(FileStorage, LeavesTheOldContentWhenTheNewCannotBeWritten) {
    std::signal(SIGXFSZ, SIG_IGN);
    writeFile(at("doc"), oldBytes);
    const auto broken = node("", {}, {node("", {})});
    broken->Containers[1]->Values = nullptr;
    for (const bool fullDisk : {true, false})
        for (const auto& [name, reason] : {std::pair{"doc", fullDisk ? EFBIG : EIO},
                                           {"other", fullDisk ? EFBIG : EIO},
                                           {"no folder/doc", ENOENT}}) {
            logged.clear();
            failSync = failAccess = !fullDisk;
            const Lowered size(RLIMIT_FSIZE, fullDisk ? 300'000 : RLIM_INFINITY);
            EXPECT_THROW(newOne->SaveToFile(item(name)), RuntimeException);
            EXPECT_EQ(logged, (Lines{kCannotWrite, at(name).string() + ": " + std::strerror(reason)}));
            EXPECT_THROW(broken->SaveToFile(item(name)), RuntimeException);
            EXPECT_EQ(readFile(at("doc")), oldBytes);
            EXPECT_EQ(names(), "doc ") << "no half a file stays";
        }
    EXPECT_EQ(calls.find("exchange"), std::string::npos);
    EXPECT_THROW(oldOne->SaveToFile(Ref<FolderItem>::make("/")), NilObjectException);
}

TEST_F(FileStorage, KeepsBothWhenTheExchangeIsRefused) {
    writeFile(at("doc"), oldBytes);
    failExchange = true;
    EXPECT_FALSE(newOne->SaveToFile(item("doc")));
    EXPECT_EQ(readFile(at("doc")), oldBytes);
    const std::string spare = names().substr(0, names().find(' '));
    EXPECT_EQ(spare.substr(spare.find_first_not_of("0123456789")), "_doc");
    EXPECT_EQ(readFile(at(spare)), newBytes);
    EXPECT_EQ(
        logged,
        (Lines{"error swapping files while saving: database remains unchanged " + std::to_string(EINVAL),
               at("doc").string() + ": Invalid argument; the new content lies in " + at(spare).string()}));
}

TEST_F(FileStorage, GoesThroughLinksAndKeepsTheRights) {
    std::filesystem::create_directory(at("there"));
    writeFile(at("there/doc"), oldBytes);
    const std::string doc = at("there/doc").string();
    ASSERT_EQ(chmod(doc.c_str(), 0420), 0);
    const uid_t owner = geteuid() == 0 ? 4711 : geteuid(); // only root gives files away
    ASSERT_EQ(chown(doc.c_str(), owner, owner == 4711 ? 4712 : getegid()), 0);
    for (const auto& [name, to] :
         {std::pair{"there/link", "doc"}, {"link", "there/link"}, {"there/new", "../made"}, {"loop", "loop"}})
        std::filesystem::create_symlink(to, at(name));
    for (const char* name : {"link", "there/new"})
        EXPECT_TRUE(newOne->SaveToFile(item(name))) << name;
    EXPECT_TRUE(item("loop")->Exists()) << "the system can't tell";
    EXPECT_THROW(newOne->SaveToFile(item("loop")), RuntimeException);
    for (const char* link : {"link", "there/link"})
        EXPECT_TRUE(std::filesystem::is_symlink(at(link))) << link;
    for (const char* file : {"there/doc", "made"})
        EXPECT_EQ(readFile(at(file)), newBytes) << file;
    struct stat status {};
    ASSERT_EQ(stat(doc.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0420U);
    EXPECT_EQ(status.st_uid, owner);
    EXPECT_EQ(status.st_gid, owner == 4711 ? 4712 : getegid());
    EXPECT_EQ(names(), "link loop made there ");
    logged.clear();
    EXPECT_FALSE(newOne->SaveToFile(item("there")));
    EXPECT_TRUE(logged.at(0).ends_with(" " + std::to_string(EISDIR)));
    EXPECT_TRUE(std::filesystem::is_directory(at("there")));
}

TEST_F(FileStorage, LoadsWhatItCan) {
    const std::string start = oldBytes.substr(0, oldBytes.size() - 7);
    const Lines notOurs{"file at: " + at("doc").string() + " is not an Hearthix binary."};
    const Lines broken{"unable to load KDBD file: doc with message: "};
    using Case = std::tuple<std::string, std::string, Lines>;
    for (const auto& [bytes, text, log] :
         {Case("KBDB" + oldBytes.substr(4), textOf(*oldOne), {}), Case("just text", "", notOurs),
          Case(start, textOf(*oldOne), broken)}) {
        logged.clear();
        writeFile(at("doc"), bytes);
        CXML document;
        document.loadFromFile(item("doc"), nullptr);
        EXPECT_EQ(textOf(document), text) << bytes;
        EXPECT_EQ(logged, log) << bytes;
    }
    logged.clear();
    for (const char* name : {"none", "."})
        CXML().loadFromFile(item(name), nullptr);
    EXPECT_TRUE(logged.empty());
}

// The child makes and replaces documents until it is killed; whatever the moment, there is a whole one, and
// none half made.
TEST_F(FileStorage, HoldsWholeDocumentsAfterAKill) {
    writeFile(at("doc"), newBytes);
    for (unsigned round = 0; round < 25; ++round) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (int i = 0; i < 100'000; ++i) {
                (i % 2 == 0 ? oldOne : newOne)->SaveToFile(item("doc"));
                item("new")->Delete();
                newOne->SaveToFile(item("new"));
            }
            _exit(0);
        }
        for (int i = 0; round == 0 && i < 10'000 && readFile(at("doc")) != oldBytes; ++i)
            usleep(500); // until it saves
        usleep(2000 + round * 397 % 5000);
        kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status)) << "it was to be killed while it saves";
        const std::string left = readFile(at("doc")), made = readFile(at("new"));
        EXPECT_TRUE(left == oldBytes || left == newBytes) << round << ": " << left.size() << " bytes";
        EXPECT_TRUE(made == newBytes || !exists(at("new"))) << round << ": " << made.size() << " bytes";
    }
    EXPECT_EQ(names().find("_new"), std::string::npos);
}

} // namespace
} // namespace hearthix::testing
