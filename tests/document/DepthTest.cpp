// Nesting without a limit: all is done on a stack that has two or three bytes for each level.
#include "tests/document/DocumentTest.hpp"

#include <functional>

#include <pthread.h>

namespace hearthix::testing {
namespace {

constexpr std::size_t kLevels = 200'000;
constexpr std::size_t kStack = 512 * 1024; // ample for a loop, also with sanitizers

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

using Depth = DocumentTest;

TEST_F(Depth, HasNoLimit) {
    onSmallStack([this] {
        auto root = nested(kLevels);
        const String bytes = root->SaveToString();
        EXPECT_TRUE(root->SaveToFile(item("deep")));
        auto again = Ref<CXML>::make();
        again->loadFromFile(item("deep"), nullptr);
        EXPECT_EQ(levelsOf(*again), kLevels);
        EXPECT_EQ(again->SaveToString().view(), bytes.view());
        again = root->Clone();
        EXPECT_EQ(levelsOf(*again), kLevels);
        // A part that someone else still holds outlives the rest, whole.
        const Ref<CXML> inner = again->Containers[1]->Containers[1];
        again = nullptr;
        EXPECT_EQ(levelsOf(*inner), kLevels - 2);
        root->Release();
        EXPECT_EQ(levelsOf(*root), 0U);
        // Half the bytes: no end tags, and perhaps a header that breaks off.
        loadRaises(*root, bytes.view().substr(0, bytes.size() / 2));
        EXPECT_EQ(root->Containers.Ubound(), 2);
    });
}

} // namespace
} // namespace hearthix::testing
