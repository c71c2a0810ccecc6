#include "tests/document/DocumentTest.hpp"

#include "runtime/values/Exceptions.hpp"
#include "shell/log/Log.hpp"

#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <new>

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace tests = hearthix::testing;

// The linker prefers these definitions to those of the C library.
extern "C" int fsync(int descriptor) {
    tests::calls += "sync ";
    errno = EIO;
    return tests::failSync ? -1 : static_cast<int>(syscall(SYS_fsync, descriptor));
}

extern "C" int renameat2(int from, const char* old, int to, const char* fresh, unsigned flags) noexcept {
    tests::calls += "exchange ";
    errno = EINVAL;
    return tests::failExchange ? -1 : static_cast<int>(syscall(SYS_renameat2, from, old, to, fresh, flags));
}

extern "C" int fchown(int descriptor, uid_t owner, gid_t group) noexcept {
    struct stat status {};
    fstat(descriptor, &status);
    tests::modeAtFirst = status.st_mode & 07777U;
    errno = EPERM;
    return tests::failOwner ? -1 : static_cast<int>(syscall(SYS_fchown, descriptor, owner, group));
}

void* operator new(std::size_t size) {
    tests::largestAllocation = std::max(tests::largestAllocation, size);
    if (void* memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}
// Not inlined, because the compiler would then warn of a mismatched deallocation.
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace hearthix::testing {

Ref<CXML> node(const std::string& name, const Pairs& values, const std::vector<Ref<CXML>>& children) {
    const auto made = Ref<CXML>::make();
    made->Name = utf8(name);
    for (const auto& [key, value] : values)
        made->SetStringValue(utf8(key), utf8(value));
    for (const auto& child : children)
        made->InsertContainer(child);
    return made;
}

Ref<CXML> nested(std::size_t levels) {
    const auto root = Ref<CXML>::make();
    CXML* last = root.get();
    for (std::size_t i = 0; i < levels; ++i) {
        last->InsertContainer(node("n", {{"k", "v"}}));
        last = last->Containers[1].get();
    }
    return root;
}

bool loadRaises(CXML& document, std::string_view bytes) {
    try {
        document.LoadFromBinaryStream(Ref<BinaryStream>::make(untagged(bytes)));
        return false;
    } catch (const RuntimeException& error) {
        EXPECT_TRUE(error.Message.empty());
        return true;
    }
}

std::string textOf(const CXML& document) {
    std::string text;
    for (Integer i = 0; i < document.GetKeyCount(); ++i)
        text += plain(document.GetKeyByIndex(i)) + "=" + plain(document.Values->ValueAt(i).asString()) + " ";
    for (std::int64_t i = 1; i <= document.Containers.Ubound(); ++i)
        text += plain(document.Containers[i]->Name) + "{" + textOf(*document.Containers[i]) + "} ";
    return text;
}

std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void writeFile(const std::filesystem::path& path, std::string_view bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

DocumentTest::DocumentTest() {
    logged.clear();
    Log::setSink([](const String& message, Integer) { logged.emplace_back(message.view()); });
    calls.clear();
    failSync = failExchange = failOwner = false;
    std::string pattern = (std::filesystem::temp_directory_path() / "document-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("no folder for the test");
    folder = pattern;
}

std::string DocumentTest::names() const {
    const std::set<std::filesystem::path> sorted(std::filesystem::directory_iterator(folder), {});
    std::string joined;
    for (const auto& path : sorted)
        joined += path.filename().string() + " ";
    return joined;
}

} // namespace hearthix::testing
