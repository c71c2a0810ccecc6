// Nesting without a limit: everything is done on a stack that a fraction of the levels would exhaust.
#include "tests/document/DocumentTest.hpp"

#include <functional>

#include <pthread.h>

namespace hearthix::testing {
namespace {

constexpr std::size_t kLevels = 200'000;
// Ample for a loop, also with sanitizers, and three bytes a level.
constexpr std::size_t kStack = 512 * 1024;

void onSmallStack(std::function<void()> body) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, kStack);
    pthread_t thread{};
    const auto start = [](void* work) -> void* {
        (*static_cast<std::function<void()>*>(work))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, start, &body), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

std::size_t levelsOf(const CXML& root) {
    std::size_t levels = 0;
    for (const CXML* at = &root; at->Containers.Ubound() > 0 && at->Containers[1];
         at = at->Containers[1].get())
        ++levels;
    return levels;
}

class Depth : public DocumentTest {};

TEST_F(Depth, HasNoLimitForReadingWritingAndFiles) {
    onSmallStack([this] {
        const auto root = nested(kLevels);
        const String bytes = root->SaveToString();
        CXML again;
        again.loadFromString(bytes);
        EXPECT_EQ(levelsOf(again), kLevels);
        EXPECT_EQ(again.SaveToString().view(), bytes.view());
        // Cut in the middle: a tree of half the depth, and no end tags.
        CXML half;
        loadRaises(half, bytes.view().substr(0, bytes.size() / 2));
        EXPECT_GT(levelsOf(half), kLevels / 3);
        EXPECT_TRUE(root->SaveToFile(item("deep")));
        CXML fromFile;
        fromFile.loadFromFile(item("deep"), nullptr);
        EXPECT_EQ(levelsOf(fromFile), kLevels);
    });
}

TEST_F(Depth, HasNoLimitForCloningReleasingAndDestroying) {
    onSmallStack([] {
        auto root = nested(kLevels);
        auto clone = root->Clone();
        EXPECT_EQ(levelsOf(*clone), kLevels);
        // A part that someone else still holds outlives the rest, whole.
        Ref<CXML> inner = clone->Containers[1]->Containers[1];
        clone = nullptr;
        EXPECT_EQ(levelsOf(*inner), kLevels - 2);
        inner->InsertContainer(inner->Containers[1]);
        inner = nullptr;
        root->Release();
        EXPECT_EQ(levelsOf(*root), 0U);
        EXPECT_TRUE(root->Containers[1].isNil());
    });
}

TEST_F(Depth, HasNoLimitForTheDump) {
    // Fewer levels, since the indentation alone grows with their square: the stack has 128 bytes for each.
    constexpr std::size_t kDumped = 4000;
    onSmallStack([this] {
        const auto file = BinaryStream::Create(item("dump"), true);
        nested(kDumped)->saveToReadableString(file, 0);
        file->Close();
        const std::string text = readFile(at("dump"));
        EXPECT_TRUE(text.starts_with("(0) value keys\n    Container: n (1) value keys\n        k=v\n"));
        const std::string last = "\n" + std::string(4 * (kDumped + 1), ' ') + "k=v\n";
        EXPECT_TRUE(text.ends_with(last));
    });
}

} // namespace
} // namespace hearthix::testing
