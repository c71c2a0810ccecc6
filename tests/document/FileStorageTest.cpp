#include "runtime/values/Clock.hpp"
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

    static struct stat statusOf(const std::filesystem::path& path) {
        struct stat status {};
        EXPECT_EQ(stat(path.c_str(), &status), 0);
        return status;
    }
};

TEST_F(FileStorage, CreatesAndReplacesAFile) {
    EXPECT_TRUE(oldOne->SaveToFile(item("doc")));
    EXPECT_EQ(readFile(at("doc")), oldBytes);
    EXPECT_EQ(calls, "sync sync ") << "the file, its folder";
    calls.clear();
    EXPECT_TRUE(newOne->SaveToFile(item("doc")));
    EXPECT_EQ(readFile(at("doc")), newBytes);
    EXPECT_EQ(calls, "sync exchange sync ") << "the file first, its folder last";
    EXPECT_EQ(names(), "doc ");
    EXPECT_EQ(logged, Lines{});
}

TEST_F(FileStorage, NeverWritesToAFileWithItsSpareName) {
    static clocks::Nanoseconds now;
    now = 5'000;
    clocks::setSourceForTest({.monotonic = [] { return now += 500; }}); // each name is tried twice
    for (const char* name : {"5_doc", "6_doc", "7_doc"})
        writeFile(at(name), "another file");
    EXPECT_TRUE(oldOne->SaveToFile(item("doc")));
    clocks::setSourceForTest({.monotonic = []() -> clocks::Nanoseconds { return 7'000; }});
    EXPECT_THROW(newOne->SaveToFile(item("doc")), RuntimeException) << "no other name is left";
    clocks::setSourceForTest({});
    EXPECT_EQ(logged.back(), at("doc").string() + ": File exists");
    for (const char* name : {"5_doc", "6_doc", "7_doc"})
        EXPECT_EQ(readFile(at(name)), "another file");
    EXPECT_EQ(readFile(at("doc")), oldBytes);
    EXPECT_EQ(names(), "5_doc 6_doc 7_doc doc ");
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
            failSync = !fullDisk;
            const Lowered size(RLIMIT_FSIZE, fullDisk ? 300'000 : RLIM_INFINITY);
            EXPECT_THROW(newOne->SaveToFile(item(name)), RuntimeException);
            EXPECT_EQ(logged, (Lines{kCannotWrite, at(name).string() + ": " + std::strerror(reason)}));
            EXPECT_THROW(broken->SaveToFile(item(name)), RuntimeException);
            EXPECT_EQ(readFile(at("doc")), oldBytes);
            EXPECT_EQ(names(), "doc ") << "no incomplete file is left";
        }
    EXPECT_EQ(calls.find("exchange"), std::string::npos);
    EXPECT_THROW(oldOne->SaveToFile(Ref<FolderItem>::make("/")), NilObjectException);
}

TEST_F(FileStorage, KeepsBothFilesWhenTheExchangeFails) {
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

TEST_F(FileStorage, KeepsThePermissionsAndTheOwner) {
    const std::string doc = at("doc").string();
    const bool isRoot = geteuid() == 0; // only root can give files away
    const mode_t before = umask(027);
    newOne->SaveToFile(item("new"));
    umask(before);
    EXPECT_EQ(statusOf(at("new")).st_mode & 07777, 0640U) << "a new file follows the umask";
    using Case = std::tuple<bool, mode_t, mode_t>;
    for (const auto& [ownerFails, old, kept] : {Case(false, 0420, 0420), Case(false, 04755, 0755),
                                                Case(true, 0420, 0400), Case(true, 0664, 0644)}) {
        writeFile(doc, oldBytes);
        ASSERT_EQ(chown(doc.c_str(), isRoot ? 4711 : geteuid(), isRoot ? 4712 : getegid()), 0);
        ASSERT_EQ(chmod(doc.c_str(), old), 0);
        failOwner = ownerFails;
        EXPECT_TRUE(newOne->SaveToFile(item("doc")));
        EXPECT_EQ(modeAtFirst, 0600U) << "until the owner is set";
        EXPECT_EQ(statusOf(doc).st_mode & 07777, kept) << "the group has no more rights than others";
        EXPECT_EQ(statusOf(doc).st_uid, isRoot && !ownerFails ? 4711 : geteuid());
        EXPECT_EQ(statusOf(doc).st_gid, isRoot && !ownerFails ? 4712 : getegid());
        std::filesystem::remove(doc);
    }
}

TEST_F(FileStorage, FollowsSymbolicLinksAndReplacesNoFolder) {
    std::filesystem::create_directory(at("there"));
    writeFile(at("there/doc"), oldBytes);
    for (const auto& [name, to] :
         {std::pair{"there/link", "doc"}, {"link", "there/link"}, {"there/new", "../made"}, {"loop", "loop"}})
        std::filesystem::create_symlink(to, at(name));
    for (const char* name : {"link", "there/new"})
        EXPECT_TRUE(newOne->SaveToFile(item(name))) << name;
    EXPECT_THROW(newOne->SaveToFile(item("loop")), RuntimeException);
    for (const char* link : {"link", "there/link", "there/new"})
        EXPECT_TRUE(std::filesystem::is_symlink(at(link))) << link;
    for (const char* file : {"there/doc", "made"})
        EXPECT_EQ(readFile(at(file)), newBytes) << file;
    logged.clear();
    EXPECT_FALSE(newOne->SaveToFile(item("there")));
    EXPECT_TRUE(logged.at(0).ends_with(" " + std::to_string(EISDIR)));
    EXPECT_EQ(names().substr(names().find("link")), "link loop made there ");
}

TEST_F(FileStorage, LoadsWhatIsReadable) {
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

// The child process creates and replaces documents until it is killed. Spare files may be left over.
TEST_F(FileStorage, ContainsWholeDocumentsAfterAKill) {
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
            usleep(500); // until the child saves
        usleep(2000 + round * 397 % 5000);
        kill(child, SIGKILL);
        ASSERT_EQ(waitpid(child, nullptr, 0), child);
        const std::string replaced = readFile(at("doc")), created = readFile(at("new"));
        EXPECT_TRUE(replaced == oldBytes || replaced == newBytes)
            << round << ": " << replaced.size() << " bytes";
        EXPECT_TRUE(created == newBytes || !exists(at("new"))) << round << ": " << created.size() << " bytes";
    }
}

} // namespace
} // namespace hearthix::testing
